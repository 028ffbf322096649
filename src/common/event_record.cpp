#include "common/event_record.h"

#include "common/file_name.h"

namespace cpd {

const std::string EVENT_DEV_LIST_UPDATE = "JOYSTICK_DEV_LIST_UPDATE";
const std::string EVENT_DEV_SEND_DATA = "JOYSTICK_DEV_SEND_DATA";
const std::string EVENT_DEV_DETACHED = "JOYSTICK_DEV_DETACHED";

const std::string EVENT_KEY_MESSAGE = "message";
const std::string EVENT_KEY_STATUS = "status";
const std::string EVENT_KEY_SUCCESS = "success";

EventRecord MakeEventRecord(const char* sourceFile, const char* qualifiedFunction, int line,
                            const std::string& text) {
  EventRecord record;
  record[EVENT_KEY_STATUS] = "success";
  record[EVENT_KEY_MESSAGE] = "[" + std::string(GetFileNameFromPath(sourceFile)) + " " +
                              qualifiedFunction + "(" + std::to_string(line) + ")] " + text;
  record[EVENT_KEY_SUCCESS] = "true";
  return record;
}

}  // namespace cpd
