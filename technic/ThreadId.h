#pragma once

// The kernel thread id of the calling thread.
int currentThreadId();
