#include "simulator/mcu/Telemetry.h"

void Telemetry::stopUpload(Time now) {
    if (running()) {
        m_next = now + m_settings.quiet;
    }
}

void Telemetry::startUpload(Time now) {
    if (running()) {
        m_next = now + m_settings.period;
    }
}

bool Telemetry::take(Time now) {
    if (!running() || now < m_next) {
        return false;
    }
    m_next = now + m_settings.period;
    return true;
}
