// Export macro for the symbols of the shared library QELTABase.
//
// The library builds with hidden visibility: only classes and functions marked QELTA_BASE_EXPORT
// are part of its binary interface. Header-only templates need no mark.
#pragma once

#if defined(QELTA_BASE_STATIC)
#define QELTA_BASE_EXPORT
#else
#define QELTA_BASE_EXPORT __attribute__((visibility("default")))
#endif
