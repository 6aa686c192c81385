#pragma once

// The caller's source file (base name) and line, as the two arguments that every tracked
// allocation and every caller-named lock takes: `guard(m_mutex, KD_HERE)`, `new (KD_HERE) T`.
#define KD_HERE __FILE_NAME__, __LINE__
