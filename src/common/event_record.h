// Structured events handed to listeners: an event name and an EventRecord.
#pragma once

#include <string>

#include "cpd_joystick/joystick_api.h"

namespace cpd {

// Event names.
extern const std::string EVENT_DEV_LIST_UPDATE;
extern const std::string EVENT_DEV_SEND_DATA;
extern const std::string EVENT_DEV_DETACHED;

// The keys of an event record: every event carries exactly these three.
extern const std::string EVENT_KEY_MESSAGE;
extern const std::string EVENT_KEY_STATUS;
extern const std::string EVENT_KEY_SUCCESS;

// Builds the record of one event: status "success", success "true", and a message that names
// where it came from: "[<file name> <qualified function>(<line>)] <text>".
EventRecord MakeEventRecord(const char* sourceFile, const char* qualifiedFunction, int line,
                            const std::string& text);

}  // namespace cpd

// The record of an event emitted at this source line by `qualifiedFunction`.
#define CPD_EVENT_RECORD(qualifiedFunction, text) \
  ::cpd::MakeEventRecord(__FILE__, qualifiedFunction, __LINE__, text)
