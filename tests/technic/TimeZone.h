#pragma once

#include <stdlib.h>
#include <time.h>

#include <string>

// Puts a time zone in force and the former one back.
class TimeZone {
  public:
    explicit TimeZone(const char* zone) {
        const char* former = getenv("TZ");
        m_hadFormer = former != nullptr;
        m_former = m_hadFormer ? former : "";
        setenv("TZ", zone, 1);
    }
    ~TimeZone() {
        if (m_hadFormer) {
            setenv("TZ", m_former.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

  private:
    bool m_hadFormer = false;
    std::string m_former;
};
