#pragma once

#include <csignal>
#include <memory>
#include <vector>

#include "simulator/mcu/Endpoint.h"
#include "simulator/mcu/LineDecoder.h"
#include "simulator/mcu/LineInput.h"
#include "simulator/mcu/LineOutput.h"
#include "simulator/mcu/LiveView.h"
#include "simulator/mcu/Mcu.h"
#include "simulator/mcu/Options.h"
#include "simulator/mcu/SimClock.h"
#include "simulator/mcu/Transcript.h"

// The MCUs of one line and everything around them, driven by one loop on one thread.
class Simulator : private McuPort {
  public:
    // Throws SettingsError or std::runtime_error.
    explicit Simulator(const Options& options);
    // Behind a line that is there already; the options for the line are not looked at.
    Simulator(const Options& options, std::unique_ptr<Endpoint> endpoint);
    ~Simulator() override;

    // What the peer opens or connects to.
    const std::string& address() const { return m_endpoint->address(); }
    // Runs until `stop` becomes other than 0, which a signal handler may do while the signals of
    // `waitMask` are let in. Throws std::runtime_error when the line or a file is lost.
    void run(const volatile std::sig_atomic_t& stop, const sigset_t& waitMask);

    // For a caller with a loop of its own: takes what the line has brought, does what is due and
    // sends what is to be said, without waiting. Throws as run().
    void turn();
    // The real time after which turn() has something to do even if the line brings nothing; the
    // longest there is for never.
    std::chrono::nanoseconds untilDue() const;
    // Cuts the power of all MCUs for a moment: what was under way is forgotten, all start anew.
    void powerCycle();

    // The state report as JSON text.
    std::string stateReport() const;

  private:
    void transmit(Outgoing outgoing) override;
    void note(const std::string& mcu, const std::string& meaning,
              const std::string& detail) override;
    bool transferUnderWay() const override;

    void act(Time now);
    Mcu* receiver() const;
    void wait(const sigset_t& waitMask);
    Time nextDeadline() const;
    void readLine(Time now);
    void onItem(const LineItem& item, Time now);
    void onFrame(const LineItem& item, Time now);
    void writeLine(Time now);
    void record(Record record);
    void writeState();

    Options m_options;
    SimClock m_clock;
    FaultScript m_script;
    std::vector<std::unique_ptr<Mcu>> m_mcus;
    std::unique_ptr<Endpoint> m_endpoint;
    LineDecoder m_decoder;
    LineInput m_input;
    LineOutput m_output;
    Transcript m_transcript;
    LiveView m_live;
    std::string m_writtenState;
};
