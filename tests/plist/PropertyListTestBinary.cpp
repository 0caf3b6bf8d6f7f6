// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>

#include "tests/plist/BinaryListBuilder.h"
#include "tests/plist/PropertyListDump.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

// The dump of a list of this one object.
std::string dumpOfObject(const std::string& object) {
  return dumpOf(binaryList({object}));
}

TEST(BinaryPropertyList, SmallIntegersAreUnsignedAndEightBytesAreSigned) {
  EXPECT_EQ(dumpOfObject("\x10\xFF"), "255");
  EXPECT_EQ(dumpOfObject("\x11\xFF\xFE"), "65534");
  EXPECT_EQ(dumpOfObject("\x12\xFF\xFF\xFF\xFF"), "4294967295");
  EXPECT_EQ(dumpOfObject("\x13" + bigEndian(1ULL << 62, 8)), "4611686018427387904");
  EXPECT_EQ(dumpOfObject("\x13" + std::string(8, '\xFF')), "-1");
}

TEST(BinaryPropertyList, A128BitIntegerIsItsLow64Bits) {
  EXPECT_EQ(dumpOfObject("\x14" + bigEndian(5, 16)), "5");
  EXPECT_EQ(dumpOfObject("\x14" + bigEndian(~0ULL, 16)), "18446744073709551615");
  EXPECT_EQ(dumpOfObject("\x14" + std::string(16, '\xFF')), "-1");
  EXPECT_EQ(dumpOfObject("\x14" + bigEndian(7, 8) + bigEndian(9, 8)), "9");
}

TEST(BinaryPropertyList, RealsHaveFourOrEightBytes) {
  EXPECT_EQ(dumpOfObject("\x22\x3F\xC0\0\0"s), "1.5r");
  EXPECT_EQ(dumpOfObject("\x23\x3F\xF8\0\0\0\0\0\0"s), "1.5r");
}

TEST(BinaryPropertyList, AFourByteRealKeepsItsShortTextForm) {
  const auto form = [](const std::string& object) {
    return readPropertyList(binaryList({object})).value->textForm();
  };
  EXPECT_EQ(form("\x22\x3F\x8C\xCC\xCD"), "1.1");
  EXPECT_EQ(form("\x23\x3F\xF1\x99\x99\xA0\0\0\0"s), "1.100000023841858");
}

TEST(BinaryPropertyList, BooleansAndNullAreSingleBytes) {
  EXPECT_EQ(dumpOfObject("\x08"), "false");
  EXPECT_EQ(dumpOfObject("\x09"), "true");
  EXPECT_EQ(dumpOfObject("\0"s), "null");
}

TEST(BinaryPropertyList, DatesAreSecondsSince2001) {
  EXPECT_EQ(dumpOfObject("\x33\x40\xF5\x18\0\0\0\0\0"s), "date 86400");
}

TEST(BinaryPropertyList, StringsAreASCIIOrUTF16) {
  EXPECT_EQ(dumpOfObject("\x50"), R"("")");
  EXPECT_EQ(dumpOfObject("\x53"
                         "abc"),
            R"("abc")");
  EXPECT_EQ(dumpOfObject("\x62\0a\x20\xAC"s), R"("a\xe2\x82\xac")");
  EXPECT_EQ(dumpOfObject("\x62\xD8\x3D\xDE\0"s), R"("\xf0\x9f\x98\x80")");
  EXPECT_EQ(dumpOfObject("\x61\xD8\x3D"), R"("\xef\xbf\xbd")");
}

TEST(BinaryPropertyList, DataIsKeptAsItIs) {
  EXPECT_EQ(dumpOfObject("\x43\0\x01\xFF"s), "<0001ff>");
  EXPECT_EQ(dumpOfObject("\x40"), "<>");
}

TEST(BinaryPropertyList, AUIDIsTheDictionaryOfItsXMLForm) {
  EXPECT_EQ(dumpOfObject("\x80\x05"), R"({"CF$UID"=5})");
  EXPECT_EQ(dumpOfObject("\x82\x01\x00\x00"s), R"({"CF$UID"=65536})");
}

TEST(BinaryPropertyList, ListsAndSetsAreLists) {
  for (const char kind : {'\xA2', '\xB2', '\xC2'}) {
    EXPECT_EQ(dumpOf(binaryList({kind + "\x01\x02"s, "\x51x", "\x09"})), R"(["x",true])");
  }
  EXPECT_EQ(dumpOfObject("\xA0"), "[]");
}

TEST(BinaryPropertyList, ADictionaryHasItsKeysBeforeItsValues) {
  EXPECT_EQ(dumpOf(binaryList({"\xD2\x01\x02\x03\x01", "\x51k", "\x61\x20\xAC", "\x09"})),
            R"({"k"=true,"\xe2\x82\xac"="k"})");
  EXPECT_EQ(dumpOfObject("\xD0"), "{}");
}

TEST(BinaryPropertyList, CountsFrom15OnFollowAsAnInteger) {
  const std::string text(20, 'x');
  EXPECT_EQ(dumpOfObject("\x5F\x10\x14" + text), '"' + text + '"');
  EXPECT_EQ(dumpOfObject("\x5F\x11" + bigEndian(20, 2) + text), '"' + text + '"');
  EXPECT_EQ(dumpOfObject("\x5F\x12" + bigEndian(20, 4) + text), '"' + text + '"');
  EXPECT_EQ(dumpOfObject("\x5F\x13" + bigEndian(20, 8) + text), '"' + text + '"');
  EXPECT_EQ(dumpOf(binaryList({"\xAF\x10\x02\x01\x01", "\x09"})), "[true,true]");
}

TEST(BinaryPropertyList, OffsetsAndReferencesHaveAnyWidthUpToEight) {
  for (std::size_t width = 1; width <= 8; ++width) {
    const std::string list = "\xA1" + bigEndian(1, width);
    EXPECT_EQ(dumpOf(binaryList({list, "\x09"}, {1, width, 0})), "[true]") << width;
    EXPECT_EQ(dumpOf(binaryList({list, "\x09"}, {width, width, 0})), "[true]") << width;
  }
}

TEST(BinaryPropertyList, TheTopObjectIsAnyObject) {
  EXPECT_EQ(dumpOf(binaryList({"\x08", "\x09"}, {1, 1, 1})), "true");
}

TEST(BinaryPropertyList, SharedObjectsAreReadInEachPlace) {
  EXPECT_EQ(dumpOf(binaryList({"\xA2\x01\x01", "\xA1\x02", "\x51x"})), R"([["x"],["x"]])");
}

TEST(BinaryPropertyList, AnotherVersionIsAnError) {
  std::string list = binaryList({"\x09"});
  list.replace(6, 2, "15");
  EXPECT_EQ(dumpOf(list), unreadable("the version of the binary format is unknown at offset 6"));
  list.replace(6, 2, "01");
  EXPECT_EQ(dumpOf(list), "true");
}

TEST(BinaryPropertyList, UnknownKindsAndWidthsAreAnError) {
  EXPECT_EQ(dumpOfObject("\x0F"), unreadable("0x0f is no kind of object at offset 8"));
  EXPECT_EQ(dumpOfObject("\x70"), unreadable("0x70 is no kind of object at offset 8"));
  EXPECT_EQ(dumpOfObject("\xF0"), unreadable("0xf0 is no kind of object at offset 8"));
  EXPECT_EQ(dumpOfObject("\x15" + std::string(32, '\0')),
            unreadable("an integer is wider than 16 bytes at offset 8"));
  EXPECT_EQ(dumpOfObject("\x21" + std::string(2, '\0')),
            unreadable("a real is neither 4 nor 8 bytes wide at offset 8"));
  EXPECT_EQ(dumpOfObject("\x32" + std::string(4, '\0')),
            unreadable("a date is not 8 bytes wide at offset 8"));
  EXPECT_EQ(dumpOfObject("\x5F\x51x"), unreadable("a count is not an integer at offset 9"));
  EXPECT_EQ(dumpOfObject("\x5F\x14" + bigEndian(1, 16) + "x"),
            unreadable("a count is not an integer at offset 9"));
}

TEST(BinaryPropertyList, AKeyIsAString) {
  EXPECT_EQ(dumpOf(binaryList({"\xD1\x01\x01", "\x09"})),
            unreadable("a key is not a text at offset 11"));
}

TEST(BinaryPropertyList, AnASCIIStringHoldsOnlyASCII) {
  EXPECT_EQ(dumpOfObject("\x51\xE9"),
            unreadable("an ASCII text holds other characters at offset 9"));
}

TEST(BinaryPropertyList, ReferencesAndOffsetsStayWithinTheObjects) {
  EXPECT_EQ(dumpOf(binaryList({"\xA1\x02", "\x09"})),
            unreadable("object 2 of 2 is referred to at offset 11"));
  EXPECT_EQ(dumpOf(binaryList({"\x09"}, {1, 1, 1})),
            unreadable("object 1 of 1 is referred to at offset 9"));
  for (const char offset : {'\x00', '\x07', '\x09', '\xFF'}) {
    std::string list = binaryList({"\x09"}, {1, 1, 0});
    list[9] = offset;
    EXPECT_EQ(dumpOf(list), unreadable("object 0 lies outside the objects at offset 9"));
  }
}

TEST(BinaryPropertyList, ObjectsEndBeforeTheTable) {
  EXPECT_EQ(dumpOfObject("\x52x"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\x61x"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\x13x"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\x23x"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\x33x"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\x81x"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\x42x"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\xA1"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\xD1\0"s),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\x5F"),
            unreadable("an object reaches past the end of the objects at offset 9"));
  EXPECT_EQ(dumpOfObject("\x5F\x11\0"s),
            unreadable("an object reaches past the end of the objects at offset 10"));
}

TEST(BinaryPropertyList, TheTrailerIsChecked) {
  const auto withTrailer = [](const std::string& trailer) {
    return dumpOf("bplist00\x09\x08" + trailer);
  };
  EXPECT_EQ(withTrailer(binaryTrailer({1, 1, 0}, 1, 9)), "true");
  EXPECT_EQ(withTrailer(binaryTrailer({0, 1, 0}, 1, 9)),
            unreadable("offsets are of no possible width at offset 16"));
  EXPECT_EQ(withTrailer(binaryTrailer({9, 1, 0}, 1, 9)),
            unreadable("offsets are of no possible width at offset 16"));
  EXPECT_EQ(withTrailer(binaryTrailer({1, 0, 0}, 1, 9)),
            unreadable("references are of no possible width at offset 17"));
  EXPECT_EQ(withTrailer(binaryTrailer({1, 9, 0}, 1, 9)),
            unreadable("references are of no possible width at offset 17"));
  for (const std::uint64_t table : {std::uint64_t{7}, std::uint64_t{11}, ~std::uint64_t{0}}) {
    EXPECT_EQ(withTrailer(binaryTrailer({1, 1, 0}, 1, table)),
              unreadable("the table of offsets lies outside the file at offset 34"));
  }
  for (const std::uint64_t count : {std::uint64_t{2}, std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
    EXPECT_EQ(withTrailer(binaryTrailer({1, 1, 0}, count, 9)),
              unreadable("the table of offsets reaches past its end at offset 18"));
  }
  EXPECT_EQ(withTrailer(binaryTrailer({8, 1, 0}, std::uint64_t{1} << 61, 9)),
            unreadable("the table of offsets reaches past its end at offset 18"));
  EXPECT_EQ(withTrailer(binaryTrailer({1, 1, ~std::uint64_t{0}}, 1, 9)),
            unreadable("object 18446744073709551615 of 1 is referred to at offset 9"));
}

TEST(BinaryPropertyList, ACutFileIsAnError) {
  const std::string whole =
      binaryList({"\xD1\x01\x02", "\x51k", "\xA2\x03\x04", "\x09", "\x61\x20\xAC"});
  ASSERT_EQ(dumpOf(whole), R"({"k"=[true,"\xe2\x82\xac"]})");
  for (std::size_t size = 6; size < whole.size(); ++size) {
    EXPECT_EQ(dumpOf(whole.substr(0, size)).substr(0, 7), "error: ") << size;
  }
}

}  // namespace
}  // namespace tolvane
