// SPDX-License-Identifier: MIT
// What both kinds of installer repository make of a value where a text is wanted.
#include <gtest/gtest.h>
#include <utility>

#include "repository/Installer3RepositoryFetcher.h"
#include "repository/Installer4RepositoryFetcher.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

struct Kind {
  const char* name;
  std::string (*textOf)(const PropertyList*);
};

class InstallerTextForm : public testing::TestWithParam<Kind> {
 protected:
  static std::string formOf(PropertyList::Value value) {
    const PropertyList list{std::move(value)};
    return GetParam().textOf(&list);
  }
};

INSTANTIATE_TEST_SUITE_P(
    Installer, InstallerTextForm,
    testing::Values(Kind{"Installer3",
                         [](const PropertyList* list) {
                           return std::string(Installer3RepositoryFetcher::stringValue(list));
                         }},
                    Kind{"Installer4",
                         [](const PropertyList* list) {
                           return std::string(
                               Installer4RepositoryFetcher::stringValueFromObject(list));
                         }}),
    [](const auto& test) { return test.param.name; });

TEST_P(InstallerTextForm, IsThatOfAStringOrANumber) {
  EXPECT_EQ(formOf(" a b "s), " a b ");
  EXPECT_EQ(formOf(PropertyList::Integer{-20}), "-20");
  EXPECT_EQ(formOf(PropertyList::Real{0.1 + 0.2, false}), "0.3");
  EXPECT_EQ(formOf(true), "1");
  EXPECT_EQ(formOf(false), "0");
}

TEST_P(InstallerTextForm, IsEmptyForAnyOtherValue) {
  EXPECT_EQ(GetParam().textOf(nullptr), "");
  EXPECT_EQ(formOf(PropertyList::Dictionary{}), "");
  EXPECT_EQ(formOf(PropertyList::List{PropertyList{"a"s}}), "");
  EXPECT_EQ(formOf(PropertyList::Date{1}), "");
  EXPECT_EQ(formOf(PropertyList::Data{"a"}), "");
}

}  // namespace
}  // namespace tolvane
