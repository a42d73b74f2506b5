// SPDX-License-Identifier: Apache-2.0
// MGlobal, the message log behind it, and the thread check.
#include "object_access.h"
#include "scene/message_log.h"
#include "scene/thread_check.h"

#include <maya/MGlobal.h>
#include <maya/MString.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <thread>

namespace headless {
namespace {

struct MessageLog {
    std::mutex mutex;
    std::vector<Message> kept;
    std::function<void(const Message&)> listener;
    bool echo = false;
};

struct ThreadCheck {
    std::mutex mutex;
    std::atomic<std::thread::id> owner{std::thread::id()}; // no thread's id before the first call
    unsigned long long foreignCalls = 0;
    const char* firstForeign = "";
};

// Neither is destroyed: a node with static lifetime may still speak when the process ends.
MessageLog& messageLog() {
    static MessageLog& instance = *new MessageLog;
    return instance;
}

ThreadCheck& threadCheck() {
    static ThreadCheck& instance = *new ThreadCheck;
    return instance;
}

const char* echoPrefix(MessageLevel level) {
    switch (level) {
    case MessageLevel::error:
        return "Error: ";
    case MessageLevel::warning:
        return "Warning: ";
    case MessageLevel::info:
        break;
    }
    return "";
}

void show(MessageLevel level, const MString& text) {
    int length = 0;
    const char* bytes = text.asChar(length);
    const Message message{level, std::string(bytes, static_cast<std::size_t>(length))};

    MessageLog& log = messageLog();
    std::function<void(const Message&)> listener;
    {
        std::lock_guard<std::mutex> lock(log.mutex);
        log.kept.push_back(message);
        listener = log.listener;
        if (log.echo) {
            const std::string line = echoPrefix(level) + message.text + "\n";
            std::fwrite(line.data(), 1, line.size(), stderr);
        }
    }
    // Outside the lock, so that the listener may use the log.
    if (!listener) return;
    try {
        listener(message);
    } catch (...) { // nothing is thrown through the API
    }
}

} // namespace

std::vector<Message> messages() {
    MessageLog& log = messageLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    return log.kept;
}

std::vector<Message> takeMessages() {
    std::vector<Message> taken;
    MessageLog& log = messageLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    taken.swap(log.kept);
    return taken;
}

void clearMessages() {
    takeMessages();
}

void setMessageEcho(bool on) {
    MessageLog& log = messageLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.echo = on;
}

void setMessageListener(std::function<void(const Message&)> listener) {
    MessageLog& log = messageLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.listener.swap(listener);
}

void noteApiCall(const char* call) {
    ThreadCheck& check = threadCheck();
    const std::thread::id caller = std::this_thread::get_id();
    if (check.owner.load(std::memory_order_relaxed) == caller) return; // once per point in some commands
    std::lock_guard<std::mutex> lock(check.mutex);
    if (check.owner == std::thread::id()) {
        check.owner = caller;
    } else if (check.foreignCalls++ == 0) {
        check.firstForeign = call;
    }
}

void resetThreadCheck() {
    ThreadCheck& check = threadCheck();
    std::lock_guard<std::mutex> lock(check.mutex);
    check.owner = std::thread::id();
    check.foreignCalls = 0;
    check.firstForeign = "";
}

unsigned long long foreignCallCount() {
    ThreadCheck& check = threadCheck();
    std::lock_guard<std::mutex> lock(check.mutex);
    return check.foreignCalls;
}

std::string firstForeignCall() {
    ThreadCheck& check = threadCheck();
    std::lock_guard<std::mutex> lock(check.mutex);
    return check.firstForeign;
}

} // namespace headless

namespace Autodesk::Maya::OpenMaya20240000 {

void MGlobal::displayError(const MString& theError) {
    headless::noteApiCall("MGlobal::displayError");
    headless::show(headless::MessageLevel::error, theError);
}

void MGlobal::displayInfo(const MString& theMessage) {
    headless::noteApiCall("MGlobal::displayInfo");
    headless::show(headless::MessageLevel::info, theMessage);
}

void MGlobal::displayWarning(const MString& theWarning) {
    headless::noteApiCall("MGlobal::displayWarning");
    headless::show(headless::MessageLevel::warning, theWarning);
}

} // namespace Autodesk::Maya::OpenMaya20240000
