#pragma once

// While it lives, pseudo-terminals do not answer the line-status request, as outside the device
// sandbox.
class NoLineStatus {
  public:
    NoLineStatus();
    ~NoLineStatus();
    NoLineStatus(const NoLineStatus&) = delete;
    NoLineStatus& operator=(const NoLineStatus&) = delete;
};
