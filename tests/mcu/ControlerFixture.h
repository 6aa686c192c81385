#pragma once

#include <gtest/gtest.h>

#include "mcu/MCUSessionControler.h"
#include "mcu/UpdateNote.h"
#include "tests/mcu/PseudoTerminal.h"

// A controller on an open line, with target 3, a read time-out of half a second and an empty note.
// What the MCU answers may be sent before it is asked: nothing discards it.
class ControlerFixture : public testing::Test {
  protected:
    void SetUp() override {
        controler.setDeviceName(line.path());
        controler.setParam(115200, 8, 0, 0);
        controler.setTimeout(0);
        controler.setTarget(3);
        ASSERT_TRUE(controler.open());
        UpdateNote::remove();
    }

    PseudoTerminal line;
    MCUSessionControler controler;
};
