#pragma once

// Appends a record of a watchdog feed, a JSON object in a line of its own, to the file named by
// DEVICE_SHIM_FEED_LOG:
//   {"seconds": the device's time since the start of the process, "wall": seconds since 1970
//   (real)}
// Without such a name nothing is recorded. Gives 0, or the error number when the record could not
// be written. Any thread may call it.
int recordFeed();
