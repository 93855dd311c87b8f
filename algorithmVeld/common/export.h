#pragma once

/// \file
/// `ALGORITHMVELD_API` marks what the shared library shows to its hosts. Everything else is hidden.

#if defined(ALGORITHMVELD_STATIC)
#define ALGORITHMVELD_API
#elif defined(_WIN32)
#if defined(algorithmVeld_EXPORTS)
#define ALGORITHMVELD_API __declspec(dllexport)
#else
#define ALGORITHMVELD_API __declspec(dllimport)
#endif
#else
/// In front of what hosts may call.
#define ALGORITHMVELD_API __attribute__((visibility("default")))
#endif
