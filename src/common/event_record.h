// Structured events handed to listeners: an event name and an EventRecord.
#pragma once

#include <string>

#include "cpd_joystick/joystick_api.h"

namespace cpd {

// Event names.
extern const std::string EVENT_DEV_LIST_UPDATE;
extern const std::string EVENT_DEV_SEND_DATA;
extern const std::string EVENT_DEV_DETACHED;

// The keys of the host's event schema. This library fills only message, status and success;
// the others are the shared vocabulary that hosts use for their own telemetry.
extern const std::string EVENT_KEY_AUTOCONNECT;
extern const std::string EVENT_KEY_BIZ;
extern const std::string EVENT_KEY_CLASS;
extern const std::string EVENT_KEY_CPD_CONTEXT;
extern const std::string EVENT_KEY_CPD_VERSION;
extern const std::string EVENT_KEY_CREDIBILITY;
extern const std::string EVENT_KEY_DESKTOP_ID;
extern const std::string EVENT_KEY_DEVICE_TYPE;
extern const std::string EVENT_KEY_TYPE;
extern const std::string EVENT_KEY_DRIVER_NAME;
extern const std::string EVENT_KEY_ERROR_CODE;
extern const std::string EVENT_KEY_EVENT;
extern const std::string EVENT_KEY_FLOW_LEVEL;
extern const std::string EVENT_KEY_FLOW_NAME;
extern const std::string EVENT_KEY_LOCAL_POLICY;
extern const std::string EVENT_KEY_MESSAGE;
extern const std::string EVENT_KEY_PID;
extern const std::string EVENT_KEY_PRINTER_REDIR_TYPE;
extern const std::string EVENT_KEY_PROCESS_ID;
extern const std::string EVENT_KEY_PRODUCT_NAME;
extern const std::string EVENT_KEY_REDIR_TYPE_LIST;
extern const std::string EVENT_KEY_REDIRTYPE;
extern const std::string EVENT_KEY_REMOTE_POLICY;
extern const std::string EVENT_KEY_CONTEXT;
extern const std::string EVENT_KEY_START_TS;
extern const std::string EVENT_KEY_STATUS;
extern const std::string EVENT_KEY_STEP;
extern const std::string EVENT_KEY_SUCCESS;
extern const std::string EVENT_KEY_TIME_MS;
extern const std::string EVENT_KEY_EVENT_TYPE;
extern const std::string EVENT_KEY_TURBOUSB;
extern const std::string EVENT_KEY_VID;
extern const std::string EVENT_KEY_VM_CONTEXT_ID;
extern const std::string EVENT_KEY_VMID;
extern const std::string EVENT_KEY_QUVANI_POLICY;
extern const std::string EVENT_KEY_CPD_MODULE;

// Builds the record of one event: status "success", success "true", and a message that names
// where it came from: "[<file name> <qualified function>(<line>)] <text>".
EventRecord MakeEventRecord(const char* sourceFile, const char* qualifiedFunction, int line,
                            const std::string& text);

}  // namespace cpd

// The record of an event emitted at this source line by `qualifiedFunction`.
#define CPD_EVENT_RECORD(qualifiedFunction, text) \
  ::cpd::MakeEventRecord(__FILE__, qualifiedFunction, __LINE__, text)
