#pragma once

/// \file
/// `VELD_WORKFLOW_API` marks what the shared library shows to its hosts. Everything else is hidden.

#if defined(VELD_WORKFLOW_STATIC)
#define VELD_WORKFLOW_API
#elif defined(_WIN32)
#if defined(veld_workflow_EXPORTS)
#define VELD_WORKFLOW_API __declspec(dllexport)
#else
#define VELD_WORKFLOW_API __declspec(dllimport)
#endif
#else
/// In front of what hosts may call.
#define VELD_WORKFLOW_API __attribute__((visibility("default")))
#endif
