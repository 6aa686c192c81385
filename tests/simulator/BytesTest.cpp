#include "simulator/mcu/Bytes.h"

#include <gmock/gmock.h>

namespace {

TEST(Bytes, AreWrittenAsTwoLowerCaseDigitsEach) {
    EXPECT_EQ(toHex({0x00, 0x0A, 0xFE, 0xFF}), "000afeff");
    EXPECT_EQ(toHex({}), "");
}

TEST(Bytes, AreReadFromDigitsOfEitherCaseWithBlanks) {
    EXPECT_EQ(fromHex("00 0aFE ff"), (Bytes{0x00, 0x0A, 0xFE, 0xFF}));
    EXPECT_EQ(fromHex(""), Bytes{});
}

TEST(Bytes, AreNotReadFromHalfAByteOrFromOtherCharacters) {
    EXPECT_EQ(fromHex("0"), std::nullopt);
    EXPECT_EQ(fromHex("0g"), std::nullopt);
    EXPECT_EQ(fromHex("0 0"), std::nullopt);
}

}  // namespace
