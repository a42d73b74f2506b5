// SPDX-License-Identifier: Apache-2.0
// What MGlobal::displayError, displayWarning and displayInfo were told, in order, text as it stands.
//
// Threads: all functions may be called from any thread.
#pragma once

#include "../headless_api.h"
#include <functional>
#include <string>
#include <vector>

namespace headless {

enum class MessageLevel { info, warning, error };

struct Message {
    MessageLevel level;
    std::string text; // raw, without prefix or line end
};

inline bool operator==(const Message& a, const Message& b) {
    return a.level == b.level && a.text == b.text;
}
inline bool operator!=(const Message& a, const Message& b) {
    return !(a == b);
}

/// Copy of all messages since the last take or clear, oldest first.
HEADLESS_API std::vector<Message> messages();

/// The same, and forgets them.
HEADLESS_API std::vector<Message> takeMessages();

HEADLESS_API void clearMessages();

/// Whether each message is also written to the error stream as one line, with "Error: " or "Warning: " before
/// it as in Maya's output window. Off at the start.
HEADLESS_API void setMessageEcho(bool on);

/// Function that is told each message after it was logged, on the thread that showed it; an empty function
/// ends that. It may use this log. What it throws is dropped, as nothing is thrown through the API.
HEADLESS_API void setMessageListener(std::function<void(const Message&)> listener);

} // namespace headless
