#pragma once

#include "technic/MutexCell.h"

// Holds a MutexCell from construction to destruction, also when an exception passes. Does nothing
// for a cell that is not valid.
class MutexCellGuard {
  public:
    explicit MutexCellGuard(MutexCell& cell) : m_cell(cell) { (void)m_cell.lock(); }
    ~MutexCellGuard() { (void)m_cell.unlock(); }
    MutexCellGuard(const MutexCellGuard&) = delete;
    MutexCellGuard& operator=(const MutexCellGuard&) = delete;

  private:
    MutexCell& m_cell;
};
