// SPDX-License-Identifier: Apache-2.0
// Export mark of the headless platform. Host and module both link the one shared library, so its symbols are
// visible on every system: by an attribute elsewhere, by export and import marks on Windows.
#pragma once

#if defined(_WIN32)
#if defined(HEADLESS_BUILDING_LIBRARY)
#define HEADLESS_API __declspec(dllexport)
#else
#define HEADLESS_API __declspec(dllimport)
#endif
#else
#define HEADLESS_API __attribute__((visibility("default")))
#endif
