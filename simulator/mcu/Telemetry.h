#pragma once

#include "simulator/mcu/McuSettings.h"

// When an application uploads its reports: in every period, quiet for a while after each
// stop-upload, at once again after a start-upload.
class Telemetry {
  public:
    explicit Telemetry(TelemetrySettings settings) : m_settings(std::move(settings)) {}

    // The application starts.
    void begin(Time now) { m_next = m_settings.on ? now + m_settings.period : kNever; }
    // The application ends.
    void end() { m_next = kNever; }
    void stopUpload(Time now);
    void startUpload(Time now);

    // The next moment for a report; kNever while there are none.
    Time next() const { return m_next; }
    // Whether a report is due; the next one then comes a period later.
    bool take(Time now);
    const Bytes& content() const { return m_settings.content; }

  private:
    bool running() const { return m_next != kNever; }

    TelemetrySettings m_settings;
    Time m_next = kNever;
};
