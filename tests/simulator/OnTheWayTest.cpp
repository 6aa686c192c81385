#include "simulator/mcu/OnTheWay.h"

#include <gtest/gtest.h>

namespace {

const Bytes kBlock = {1, 2, 3, 4};

Fault damage(std::size_t at, std::uint8_t mask) {
    Fault fault;
    fault.action = FaultAction::Damage;
    fault.count = at;
    fault.mask = mask;
    return fault;
}

Fault lose(std::size_t at, std::size_t length) {
    Fault fault;
    fault.action = FaultAction::Lose;
    fault.count = at;
    fault.length = length;
    return fault;
}

Fault insert(std::size_t at, const Bytes& bytes) {
    Fault fault;
    fault.action = FaultAction::Insert;
    fault.count = at;
    fault.bytes = bytes;
    return fault;
}

struct Case {
    std::string name;
    std::vector<Fault> faults;
    Bytes arriving;
};

class BlockOnItsWay : public testing::TestWithParam<Case> {};

TEST_P(BlockOnItsWay, ArrivesAsItsFaultsLeaveIt) {
    EXPECT_EQ(onTheWay(kBlock, GetParam().faults), GetParam().arriving);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, BlockOnItsWay,
    testing::Values(Case{"None", {}, kBlock}, Case{"Damage", {damage(1, 0x80)}, {1, 0x82, 3, 4}},
                    Case{"DamageBehindTheEnd", {damage(4, 0x80)}, kBlock},
                    Case{"LossOfOneByte", {lose(0, 1)}, {2, 3, 4}},
                    Case{"LossOfMoreThanThereIs", {lose(2, 9)}, {1, 2}},
                    Case{"BytesInFront", {insert(0, {8, 9})}, {8, 9, 1, 2, 3, 4}},
                    Case{"BytesInside", {insert(3, {8})}, {1, 2, 3, 8, 4}},
                    Case{"BytesBehind", {insert(4, {8})}, {1, 2, 3, 4, 8}},
                    Case{"BytesFarBehind", {insert(4000, {8})}, {1, 2, 3, 4, 8}},
                    Case{"ALostByteReplaced", {lose(1, 1), insert(1, {7})}, {1, 7, 3, 4}},
                    Case{"TwoDamages", {damage(0, 1), damage(3, 1)}, {0, 2, 3, 5}}),
    [](const auto& tested) { return tested.param.name; });

TEST(EndOnItsWay, MayHaveBytesOnBothSides) {
    EXPECT_EQ(inPlaceOf(4, 0, 1, {insert(0, {7}), insert(1, {8})}), (Bytes{7, 4, 8}));
}

}  // namespace
