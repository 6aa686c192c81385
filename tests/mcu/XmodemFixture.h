#pragma once

#include <gtest/gtest.h>

#include <string>

#include "mcu/UpdateNote.h"
#include "mcu/XmodemSender.h"
#include "tests/mcu/XmodemBytes.h"
#include "tests/mcu/XmodemPeer.h"

// A sender on an open line that counts as silent after a tenth of a second, and an empty note.
class XmodemFixture : public testing::Test {
  protected:
    void SetUp() override {
        UpdateNote::remove();
        ASSERT_TRUE(sender.open(line.path()));
        line.setReadTimeout(1);
        sender.setTimeout(10);
    }

    // Sends to a receiver with these replies; the result is in `result`, the line's bytes in
    // `wire`.
    void transfer(const std::string& path, const Bytes& replies, unsigned char start = 'C') {
        XmodemPeer peer(line, replies, start);
        result = sender.sendFile(path.c_str());
        wire = peer.stop();
    }

    PseudoTerminal line;
    XmodemSender sender;
    int result = 99;
    Bytes wire;
};
