// Marks a function as printf-like, so the compiler checks its callers' formats: MinGW's own form
// on Windows (its printf is not the C runtime's), the GNU one elsewhere.
#pragma once

#include <cstdio>  // defines MinGW's printf-format macro

#if defined(__MINGW_PRINTF_FORMAT)
#define CPD_PRINTF_LIKE(formatAt, firstAt) \
  __attribute__((format(__MINGW_PRINTF_FORMAT, formatAt, firstAt)))
#elif defined(__GNUC__)
#define CPD_PRINTF_LIKE(formatAt, firstAt) __attribute__((format(printf, formatAt, firstAt)))
#else
#define CPD_PRINTF_LIKE(formatAt, firstAt)
#endif
