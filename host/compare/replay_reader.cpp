// SPDX-License-Identifier: Apache-2.0
#include "host/compare/replay_reader.h"

#include "host/capture/value_reader.h"

namespace talvisora::host {

namespace {

using Object = JsonValue::Object;

ShownMessage readMessage(const JsonValue& json, const JsonPlace& place) {
    const std::string levelKey = "level", textKey = "text";
    const Object& object = readObject(json, place);
    return {readText(needKey(object, levelKey, place), JsonPlace(place, levelKey)),
            readText(needKey(object, textKey, place), JsonPlace(place, textKey))};
}

ReplayedCall readCall(const JsonValue& json, const JsonPlace& place) {
    const std::string callKey = "call", statusKey = "status", threwKey = "threw", messagesKey = "messages",
                      pointsKey = "points", unavailableKey = "unavailable", faultKey = "deviceFault";
    const Object& object = readObject(json, place);
    ReplayedCall call;
    call.call = readText(needKey(object, callKey, place), JsonPlace(place, callKey));
    call.messages = readList(needKey(object, messagesKey, place), JsonPlace(place, messagesKey), readMessage);
    if (const JsonValue* flag = findKey(object, unavailableKey))
        call.unavailable = readBoolean(*flag, JsonPlace(place, unavailableKey));
    if (const JsonValue* status = findKey(object, statusKey))
        call.status = readInt(*status, JsonPlace(place, statusKey));
    if (const JsonValue* threw = findKey(object, threwKey))
        call.threw = readText(*threw, JsonPlace(place, threwKey));
    if (const JsonValue* fault = findKey(object, faultKey))
        call.deviceFault = readText(*fault, JsonPlace(place, faultKey));
    if (const JsonValue* points = findKey(object, pointsKey))
        call.points = readPoints(*points, JsonPlace(place, pointsKey));
    return call;
}

} // namespace

std::vector<ReplayedCall> readReplay(const JsonValue& document) {
    const std::string versionKey = "version", callsKey = "calls";
    const JsonPlace place;
    const Object& object = readObject(document, place);
    if (readInt(needKey(object, versionKey, place), JsonPlace(place, versionKey)) != 1)
        JsonPlace(place, versionKey).refuse("only version 1 is known");
    return readList(needKey(object, callsKey, place), JsonPlace(place, callsKey), readCall);
}

} // namespace talvisora::host
