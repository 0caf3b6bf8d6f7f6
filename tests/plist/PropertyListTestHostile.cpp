// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/plist/BinaryListBuilder.h"
#include "tests/plist/PropertyListDump.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

// The factor that an unoptimised build may take more.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
constexpr long kSlowness = 8;
#else
constexpr long kSlowness = 1;
#endif

// Reads the bytes in a process of its own and expects an error that begins and ends like this,
// within a second of the processor's time and 100 MB besides the bytes.
void expectCheapError(const std::string& bytes, std::string_view what, std::string_view end = ".") {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const std::string found = dumpOf(bytes);
    const bool isExpected =
        found.starts_with("error: The property list cannot be read: " + std::string(what)) &&
        found.ends_with(end);
    if (!isExpected) fprintf(stderr, "%.300s\n", found.c_str());
    _exit(isExpected ? 0 : 1);
  }
  int status = 0;
  rusage used{};
  ASSERT_EQ(wait4(child, &status, 0, &used), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << what;
  const double seconds = static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
                         static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
  EXPECT_LT(seconds, 1.0 * kSlowness);
  EXPECT_LT(used.ru_maxrss / 1024, 100 * kSlowness + static_cast<long>(bytes.size() >> 20));
}

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  result.reserve(text.size() * times);
  for (; times > 0; --times) result += text;
  return result;
}

// A binary list of this many nested lists.
std::string nestedBinary(std::size_t levels) {
  std::vector<std::string> objects;
  for (std::size_t i = 1; i < levels; ++i) objects.push_back("\xA1" + bigEndian(i, 4));
  objects.push_back("\xA0");
  return binaryList(objects, {4, 4, 0});
}

std::string nestedXML(std::size_t levels) {
  return repeated("<array>", levels) + repeated("</array>", levels);
}

std::string nestedText(std::size_t levels) {
  return repeated("(", levels) + repeated(")", levels);
}

TEST(HostilePropertyList, TwoHundredAndFiftySixLevelsAreReadAndNoMore) {
  const std::string deepest = repeated("[", 256) + repeated("]", 256);
  EXPECT_EQ(dumpOf(nestedXML(256)), deepest);
  EXPECT_EQ(dumpOf("<plist>" + nestedXML(256) + "</plist>"), deepest);
  EXPECT_EQ(dumpOf(nestedText(256)), deepest);
  EXPECT_EQ(dumpOf(nestedBinary(256)), deepest);
  EXPECT_EQ(dumpOf(nestedXML(257)), unreadable("values are nested too deep at line 1"));
  EXPECT_EQ(dumpOf(nestedText(257)), unreadable("values are nested too deep at line 1"));
  EXPECT_EQ(dumpOf(nestedBinary(257)), unreadable("values are nested too deep at offset 1289"));
}

TEST(HostilePropertyList, ThreeHundredThousandLevelsEndInAnError) {
  constexpr std::size_t kLevels = 300'000;
  expectCheapError(nestedXML(kLevels), "values are nested too deep at line 1");
  expectCheapError(repeated("<dict><key>a</key>", kLevels), "values are nested too deep at line 1");
  expectCheapError(nestedText(kLevels), "values are nested too deep at line 1");
  expectCheapError(repeated("{a=", kLevels), "values are nested too deep at line 1");
  expectCheapError(repeated("a={", kLevels), "values are nested too deep at line 1");
  expectCheapError(nestedBinary(kLevels), "values are nested too deep at offset 1289");
}

TEST(HostilePropertyList, ABinaryListThatHoldsItselfEndsInAnError) {
  expectCheapError(binaryList({"\xA1\0"s}), "values are nested too deep at offset 9");
  expectCheapError(binaryList({"\xAE" + std::string(14, '\0')}),
                   "values are nested too deep at offset 9");
  expectCheapError(binaryList({"\xAF\x10\xFF" + std::string(255, '\0')}),
                   "objects are shared too often at offset 11");
  expectCheapError(binaryList({"\xD1\x01\0"s, "\x51k"}), "values are nested too deep at offset 9");
  expectCheapError(binaryList({"\xA1\x01", "\xA1\0"s}), "values are nested too deep at offset 9");
}

TEST(HostilePropertyList, SharingThatWouldExplodeEndsInAnError) {
  std::vector<std::string> doubling;
  for (char i = 1; i <= 40; ++i) doubling.push_back(std::string{'\xA2', i, i});
  doubling.push_back("\x09");
  expectCheapError(binaryList(doubling), "objects are shared too often");

  const std::string longText = "\x5F\x12" + bigEndian(1'000'000, 4) + std::string(1'000'000, 'x');
  const std::vector<std::uint64_t> everyTime(60'000, 1);
  expectCheapError(
      binaryList({container('\xA0', everyTime.size(), everyTime), longText}, {4, 2, 0}),
      "objects are shared too often");
}

TEST(HostilePropertyList, SharingInDictionariesCountsToo) {
  std::vector<std::string> doubling;
  for (char i = 1; i <= 40; ++i) doubling.push_back(std::string{'\xD2', 42, 42, i, i});
  doubling.push_back("\x09");
  doubling.push_back("\x09");
  doubling.push_back("\x50");
  expectCheapError(binaryList(doubling), "objects are shared too often");
}

TEST(HostilePropertyList, PackagesMayShareAllButOneOfTheirStrings) {
  constexpr std::size_t kPackages = 10'000, kKeys = 8;
  std::vector<std::string> objects(1);
  std::vector<std::uint64_t> packages;
  const std::string common = "\x5F\x10\x28" + std::string(40, 'x');
  for (std::size_t i = 0; i < kKeys; ++i) objects.push_back("\x5A" + std::string(10, 'a' + i));
  objects.push_back(common);
  for (std::size_t i = 0; i < kPackages; ++i) {
    objects.push_back("\x5A" + std::to_string(1'000'000'000 + i));
    const std::uint64_t own = objects.size() - 1, shared = kKeys + 1;
    packages.push_back(objects.size());
    objects.push_back(container(
        '\xD0', kKeys,
        {1, 2, 3, 4, 5, 6, 7, 8, own, shared, shared, shared, shared, shared, shared, shared}));
  }
  objects[0] = container('\xA0', packages.size(), packages);
  const auto result = readPropertyList(binaryList(objects, {4, 2, 0}));
  ASSERT_TRUE(result.value && result.value->list()) << describe(result.error);
  EXPECT_EQ(result.value->list()->size(), kPackages);
}

TEST(HostilePropertyList, CountsThatOverflowEndInAnError) {
  for (const auto count :
       {~0ULL, 1ULL << 63, 1ULL << 62, 1ULL << 61, (1ULL << 61) + 1, 1ULL << 32}) {
    for (const char kind : {'\x4F', '\x5F', '\x6F', '\xAF', '\xBF', '\xCF', '\xDF'}) {
      const std::string object = kind + "\x13"s + bigEndian(count, 8);
      expectCheapError(binaryList({object}, {1, 8, 0}),
                       "an object reaches past the end of the objects at offset 18");
    }
  }
}

TEST(HostilePropertyList, MoreValuesThanAListHasEndInAnError) {
  constexpr std::size_t kMany = 4'000'001;
  EXPECT_EQ(dumpOf("<array>" + repeated("<true/>", kMany) + "</array>"),
            unreadable("there are too many values at line 1"));
  EXPECT_EQ(dumpOf("(" + repeated("a,", kMany) + ")"),
            unreadable("there are too many values at line 1"));
  EXPECT_EQ(
      dumpOf(binaryList({"\xAF\x12" + bigEndian(kMany, 4) + std::string(kMany, '\x01'), "\x09"})),
      unreadable("there are too many values at offset 14"));
}

TEST(HostilePropertyList, EntitiesThatWouldExplodeEndInAnError) {
  std::string laughs = "<!DOCTYPE plist [<!ENTITY a0 'ha'>";
  for (int i = 1; i < 30; ++i) {
    const std::string before = "&a" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY a" + std::to_string(i) + " '" + repeated(before, 10) + "'>";
  }
  expectCheapError(laughs + "]><plist><string>&a29;</string></plist>", "", " at line 1.");
  expectCheapError("<!DOCTYPE plist [<!ENTITY a '" + std::string(1'000'000, 'x') +
                       "'>]><plist><string>" + repeated("&a;", 100'000) + "</string></plist>",
                   "", " at line 1.");
}

TEST(HostilePropertyList, DeclaredAttributesThatWouldMultiplyEndInAnError) {
  std::string declarations;
  for (int i = 0; i < 20'000; ++i) {
    declarations += "<!ATTLIST true a" + std::to_string(i) + " CDATA 'x'>";
  }
  expectCheapError(
      "<!DOCTYPE plist [" + declarations + "]><array>" + repeated("<true/>", 20'000) + "</array>",
      "attributes are declared at line 1");
}

TEST(HostilePropertyList, ATagWithVeryManyAttributesEndsInAnError) {
  std::string attributes, namespaces;
  for (int i = 0; i < 200'000; ++i) {
    attributes += " a" + std::to_string(i) + "=''";
    namespaces += " xmlns:a" + std::to_string(i) + "='u'";
  }
  expectCheapError("<plist" + attributes + "><true/></plist>",
                   "a tag has too many attributes at line 1");
  expectCheapError("<plist" + namespaces + "><true/></plist>",
                   "a tag has too many attributes at line 1");
}

TEST(HostilePropertyList, NothingIsFetchedFromAServer) {
  LoopbackServer server;
  const std::string url = server.url("/x.dtd");
  EXPECT_EQ(dumpOf("<!DOCTYPE plist SYSTEM '" + url + "'><array/>"), "[]");
  EXPECT_EQ(lineOfError("<!DOCTYPE plist [<!ENTITY % p SYSTEM '" + url + "'>%p;]><array/>"), "1");
  EXPECT_EQ(lineOfError("<!DOCTYPE plist [<!ENTITY a SYSTEM '" + url + "'>]><string>&a;</string>"),
            "1");
  EXPECT_EQ(dumpOf("<array xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include href='" + url +
                   "'/></array>"),
            unreadable("<include> is no element of a property list at line 1"));
  EXPECT_TRUE(server.requests().empty());
}

TEST(HostilePropertyList, NothingIsTakenFromAFile) {
  const TemporaryFolder folder;
  const std::string file = "file://" + folder.write("secret", "secret");
  EXPECT_EQ(lineOfError("<!DOCTYPE plist [<!ENTITY a SYSTEM '" + file + "'>]><string>&a;</string>"),
            "1");
  folder.write("x.dtd", "<!ENTITY a 'secret'>");
  const std::string dtd = "file://" + folder.path("x.dtd");
  EXPECT_EQ(dumpOf("<!DOCTYPE plist SYSTEM '" + dtd + "'><string>&a;</string>"),
            unreadable("there is an entity at line 1"));
  EXPECT_EQ(
      lineOfError("<!DOCTYPE plist [<!ENTITY % p SYSTEM '" + dtd + "'>%p;]><string>&a;</string>"),
      "1");
}

TEST(HostilePropertyList, LongTokensAreReadInOnePass) {
  const std::string longText(20'000'000, 'x');
  const auto size = [](const std::string& bytes) {
    const auto result = readPropertyList(bytes);
    const auto* text = result.value ? result.value->text() : nullptr;
    return text != nullptr ? text->size() : 0;
  };
  EXPECT_EQ(size("<string>" + longText + "</string>"), longText.size());
  EXPECT_EQ(size("<string><![CDATA[" + longText + "]]></string>"), longText.size());
  EXPECT_EQ(size("<!--" + longText + "--><string>x</string>"), 1);
  EXPECT_EQ(size('"' + longText + '"'), longText.size());
  expectCheapError("<string>" + longText, "", " at line 1.");
  expectCheapError("<!--" + longText, "", " at line 1.");
  expectCheapError('"' + longText, "a quoted text that begins here has no end at line 1");
}

TEST(HostilePropertyList, RandomBytesEndInAnError) {
  std::mt19937 random(7);
  std::string noise(1'000'000, '\0');
  for (char& c : noise) c = static_cast<char>(random());
  for (const auto* start : {"", "bplist00", "<?xml version='1.0'?>", "<plist>", "{", "\xFE\xFF",
                            "<\xFF", "\xEF\xBB\xBF"}) {
    const auto result = readPropertyList(start + noise);
    EXPECT_FALSE(result.value) << start;
    EXPECT_TRUE(result.error && result.error->code == kPropertyListReadCorruptError) << start;
  }
}

}  // namespace
}  // namespace tolvane
