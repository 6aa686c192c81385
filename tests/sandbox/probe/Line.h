#pragma once

// A pseudo-terminal whose slave is a raw serial line. Closed when the object goes.
class Line {
  public:
    Line();
    ~Line();
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    // What a read from the slave waits for; see termios.
    void setWait(unsigned char minimum, unsigned char tenths);

    int master() const { return m_master; }
    int slave() const { return m_slave; }

  private:
    int m_master = -1;
    int m_slave = -1;
};
