// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "http/ResponseHead.h"

namespace tolvane {

namespace {

using testing::ElementsAre;
using testing::Pair;
using Coding = ResponseHead::Coding;

// A complete head with these fields, without their line breaks.
ResponseHead headOf(int statusCode, std::initializer_list<const char*> fields) {
  ResponseHead head;
  head.begin(statusCode);
  for (const char* field : fields) head.append(std::string(field) + "\r\n");
  head.append("\r\n");
  return head;
}

TEST(ResponseHead, IsCompleteAfterTheEmptyLine) {
  for (const char* lineBreak : {"\r\n", "\n"}) {
    ResponseHead head;
    EXPECT_FALSE(head.isComplete());
    head.begin(200);
    head.append(std::string("Server: x") + lineBreak);
    EXPECT_FALSE(head.isComplete());
    head.append(lineBreak);
    EXPECT_TRUE(head.isComplete());
    EXPECT_EQ(head.statusCode(), 200);
  }
}

TEST(ResponseHead, OfAnInterimResponseIsNotComplete) {
  ResponseHead head = headOf(103, {"Link: </style>", "Location: /early"});
  EXPECT_FALSE(head.isComplete());
  head.begin(200);
  EXPECT_EQ(head.location(), std::nullopt);
  head.append("Content-Length: 4\r\n");
  head.append("\r\n");
  EXPECT_TRUE(head.isComplete());
  EXPECT_THAT(head.fields(), ElementsAre(Pair("Content-Length", "4")));
}

TEST(ResponseHead, KeepsFieldsInOrderWithoutTheBlanksAroundTheirValues) {
  EXPECT_THAT(headOf(200, {"B:2", "a: \t1 2 ", "Empty:", "no colon", "b: 3:4"}).fields(),
              ElementsAre(Pair("B", "2"), Pair("a", "1 2"), Pair("Empty", ""), Pair("b", "3:4")));
}

TEST(ResponseHead, IsARedirectForFiveStatusesWithALocation) {
  for (const int status : {301, 302, 303, 307, 308}) {
    EXPECT_TRUE(headOf(status, {"location: /there"}).isRedirect()) << status;
    EXPECT_FALSE(headOf(status, {"Server: x"}).isRedirect()) << status;
  }
  for (const int status : {200, 201, 300, 304, 305, 306, 404}) {
    EXPECT_FALSE(headOf(status, {"Location: /there"}).isRedirect()) << status;
  }
  ResponseHead unfinished;
  unfinished.begin(302);
  unfinished.append("Location: /there\r\n");
  EXPECT_FALSE(unfinished.isRedirect());
}

TEST(ResponseHead, HasTheLastOfSeveralLocations) {
  EXPECT_EQ(headOf(302, {"Location: /a", "LOCATION: /b", "X-Location: /c"}).location(), "/b");
  EXPECT_EQ(headOf(302, {"Location:"}).location(), "");
}

TEST(ResponseHead, HasNoBodyWithTheStatus204Or304) {
  EXPECT_FALSE(headOf(204, {}).allowsBody());
  EXPECT_FALSE(headOf(304, {}).allowsBody());
  EXPECT_TRUE(headOf(200, {}).allowsBody());
  EXPECT_TRUE(headOf(404, {}).allowsBody());
}

TEST(ResponseHead, HasTheFirstContentLengthThatIsANumber) {
  EXPECT_EQ(headOf(200, {"Content-Length: 12"}).contentLength(), 12U);
  EXPECT_EQ(headOf(200, {"content-length: x", "Content-Length: 0"}).contentLength(), 0U);
  EXPECT_EQ(headOf(200, {"Content-Length: 18446744073709551615"}).contentLength(), UINT64_MAX);
  for (const char* field :
       {"Content-Length:", "Content-Length: -1", "Content-Length: 18446744073709551616", "A: 1"}) {
    EXPECT_EQ(headOf(200, {field}).contentLength(), std::nullopt) << field;
  }
}

TEST(ResponseHead, HasContradictingLengthsWhenTheyDiffer) {
  EXPECT_TRUE(headOf(200, {"Content-Length: 8", "Content-Length: 4"}).hasContradictingLengths());
  EXPECT_TRUE(headOf(200, {"Content-Length: 8, 4"}).hasContradictingLengths());
  EXPECT_TRUE(
      headOf(200, {"Content-Length: 8", "A: b", "content-length: 8, 4"}).hasContradictingLengths());
  EXPECT_FALSE(headOf(200, {"Content-Length: 4, 4"}).hasContradictingLengths());
  EXPECT_FALSE(headOf(200, {"Content-Length: 4"}).hasContradictingLengths());
  EXPECT_FALSE(headOf(200, {}).hasContradictingLengths());
}

TEST(ResponseHead, HasNoContradictingLengthsWhenATransferEncodingEndsTheBody) {
  EXPECT_FALSE(headOf(200, {"Content-Length: 8", "Content-Length: 4", "Transfer-Encoding: chunked"})
                   .hasContradictingLengths());
}

TEST(ResponseHead, KnowsTheContentCodingGzip) {
  EXPECT_EQ(headOf(200, {"Content-Encoding: GZIP"}).contentCoding(), Coding::gzip);
  EXPECT_EQ(headOf(200, {"content-encoding: x-gzip"}).contentCoding(), Coding::gzip);
  for (const char* none : {"Content-Encoding:", "Content-Encoding: identity",
                           "Content-Encoding: none", "Server: gzip"}) {
    EXPECT_EQ(headOf(200, {none}).contentCoding(), Coding::none) << none;
  }
}

TEST(ResponseHead, HasAnUnknownContentCodingOnlyWithAStatusOfSuccess) {
  for (const char* other : {"br", "deflate", "gzip, gzip", "zstd"}) {
    const std::string field = std::string("Content-Encoding: ") + other;
    EXPECT_EQ(headOf(200, {field.c_str()}).contentCoding(), Coding::unknown) << other;
    EXPECT_EQ(headOf(404, {field.c_str()}).contentCoding(), Coding::none) << other;
  }
  const auto twice = {"Content-Encoding: gzip", "Content-Encoding: gzip"};
  EXPECT_EQ(headOf(206, twice).contentCoding(), Coding::unknown);
  EXPECT_EQ(headOf(500, twice).contentCoding(), Coding::gzip);
}

}  // namespace

}  // namespace tolvane
