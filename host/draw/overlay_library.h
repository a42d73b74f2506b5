// SPDX-License-Identifier: Apache-2.0
// The module's drawing, loaded by path as the module itself is: the host names no room of the module.
#pragma once

#include "host/host_error.h"
#include "overlay.h"

#include <string>

namespace talvisora::host {

/// Path of the overlay library that lies beside this executable.
std::string defaultOverlayPath();

/// Loads the library (it stays loaded until the process ends) and finds its function. Empty path:
/// defaultOverlayPath(). Throws HostError kInput: no such file, not loadable, nothing of that name in it.
OverlayFunction loadOverlay(const std::string& path = {});

} // namespace talvisora::host
