// The boot loader's part of an MCU: one XMODEM transfer from the permission to the stored image.
#include <fmt/format.h>

#include "simulator/mcu/Mcu.h"
#include "simulator/mcu/OnTheWay.h"
#include "simulator/mcu/XmodemBlock.h"

namespace {

std::string byteMeaning(std::uint8_t byte) {
    switch (byte) {
        case xmodem::kAck:
            return "ACK";
        case xmodem::kNak:
            return "NAK";
        case xmodem::kStartByte:
            return "start byte";
        case xmodem::kCan:
            return "CAN";
        default:
            return "other byte";
    }
}

}  // namespace

void Mcu::onTransferItem(const LineItem& item, Time now) {
    if (!m_transfer || !hears(now)) {
        return;
    }
    switch (item.type) {
        case LineItem::Type::Block:
        case LineItem::Type::DamagedBlock:
            onBlock(item.bytes, now);
            break;
        case LineItem::Type::Eot:
            onEot(now);
            break;
        case LineItem::Type::Can:
            m_transfer->onCan();
            break;
        default:
            break;
    }
    if (m_transfer && m_transfer->isOver() && !m_transfer->isComplete()) {
        endTransfer("cancelled");
    }
}

void Mcu::onPartOfBlock(Time now) {
    if (m_transfer && hears(now)) {
        m_transfer->onPartOfBlock(now);
    }
}

void Mcu::onBlock(const Bytes& block, Time now) {
    const std::vector<Fault> faults = m_script.occur("block", name());
    if (interrupted(faults, "block", now)) {
        return;
    }
    if (refusedByFault(faults, now)) {
        return refuseOne(now);
    }
    const bool first = m_transfer->waitsForFirstBlock();
    const auto reply = m_transfer->onBlock(onTheWay(block, faults), now);
    if (first && !m_transfer->waitsForFirstBlock()) {
        eraseForNewImage();
    }
    if (reply) {
        answerTransfer("block", *reply, faults, now);
    }
}

void Mcu::onEot(Time now) {
    const std::vector<Fault> faults = m_script.occur("eot", name());
    if (interrupted(faults, "eot", now)) {
        return;
    }
    if (refusedByFault(faults, now)) {
        return refuseOne(now);
    }
    const bool wasComplete = m_transfer->isComplete();
    const auto reply = m_transfer->onEot(now);
    if (m_transfer->isComplete() && !wasComplete) {
        m_transferEnd = now + m_settings.bootDelay;
        storeReceived(m_transfer->image());
    }
    if (reply) {
        answerTransfer("eot", *reply, faults, now);
    }
}

// The flash is erased to make room, so a transfer that breaks leaves no application.
void Mcu::eraseForNewImage() {
    if (m_settings.eraseOnUpdate) {
        m_store.erase();
        m_applicationIsValid = false;
    }
}

void Mcu::storeReceived(const Bytes& image) {
    if (image.empty()) {
        m_port.note(name(), "transfer ends", "no block came; the flash is as it was");
        return;
    }
    install(image, true, "");
    ++m_imagesReceived;
    m_port.note(name(), "image stored",
                fmt::format("{} bytes, version {}{}", image.size(),
                            m_applicationIsValid ? versionText() : "unknown",
                            m_applicationIsValid ? "" : ", too short to run"));
}

void Mcu::refuseOne(Time now) {
    if (m_transfer) {
        m_transfer->refuseOne(now);
    }
}

// Faults by which the MCU answers something else than it would, without taking the block or EOT.
bool Mcu::refusedByFault(const std::vector<Fault>& faults, Time now) {
    if (findFault(faults, FaultAction::Nak) != nullptr) {
        answerTransfer("", xmodem::kNak, faults, now);
        return true;
    }
    if (const Fault* other = findFault(faults, FaultAction::Byte)) {
        answerTransfer("", static_cast<std::uint8_t>(other->count), faults, now);
        return true;
    }
    if (findFault(faults, FaultAction::Cancel) != nullptr) {
        answerTransfer("", xmodem::kCan, faults, now);
        answerTransfer("", xmodem::kCan, {}, now);
        endTransfer("cancelled by the MCU");
        return true;
    }
    return false;
}

void Mcu::sendDueTransferByte(Time now) {
    const auto byte = m_transfer->onTime(now);
    if (m_transfer->isOver() && !m_transfer->isComplete()) {
        endTransfer("nothing came");
        return;
    }
    if (!byte) {
        return;
    }
    if (*byte != xmodem::kStartByte) {
        answerTransfer("", *byte, {}, now);
        return;
    }
    const std::vector<Fault> faults = m_script.occur("start", name());
    if (!interrupted(faults, "start", now) && !refusedByFault(faults, now)) {
        answerTransfer("start", *byte, faults, now);
    }
}

void Mcu::answerTransfer(const char* event, std::uint8_t byte, const std::vector<Fault>& faults,
                         Time now) {
    answer(byteMeaning(byte).c_str(), {byte}, event, faults, now);
}

void Mcu::endTransfer(const std::string& why) {
    m_transferEnd = kNever;
    if (!isReceiving()) {
        return;
    }
    if (m_transfer) {
        m_transfer->abort();
        m_transfer.reset();
    } else {
        m_program.reset();
        ++m_statistics.cancelled;
    }
    m_port.note(name(), "transfer ends", why);
}
