#include "common/event_record.h"

#include "common/file_name.h"

namespace cpd {

const std::string EVENT_DEV_LIST_UPDATE = "JOYSTICK_DEV_LIST_UPDATE";
const std::string EVENT_DEV_SEND_DATA = "JOYSTICK_DEV_SEND_DATA";
const std::string EVENT_DEV_DETACHED = "JOYSTICK_DEV_DETACHED";

const std::string EVENT_KEY_AUTOCONNECT = "autoconnect";
const std::string EVENT_KEY_BIZ = "biz";
const std::string EVENT_KEY_CLASS = "class";
const std::string EVENT_KEY_CPD_CONTEXT = "cpdContext";
const std::string EVENT_KEY_CPD_VERSION = "cpdVersion";
const std::string EVENT_KEY_CREDIBILITY = "credibility";
const std::string EVENT_KEY_DESKTOP_ID = "desktopId";
const std::string EVENT_KEY_DEVICE_TYPE = "deviceType";
const std::string EVENT_KEY_TYPE = "type";
const std::string EVENT_KEY_DRIVER_NAME = "driverName";
const std::string EVENT_KEY_ERROR_CODE = "errorCode";
const std::string EVENT_KEY_EVENT = "event";
const std::string EVENT_KEY_FLOW_LEVEL = "flowLevel";
const std::string EVENT_KEY_FLOW_NAME = "flowName";
const std::string EVENT_KEY_LOCAL_POLICY = "localPolicy";
const std::string EVENT_KEY_MESSAGE = "message";
const std::string EVENT_KEY_PID = "pid";
const std::string EVENT_KEY_PRINTER_REDIR_TYPE = "printerRedirType";
const std::string EVENT_KEY_PROCESS_ID = "processId";
const std::string EVENT_KEY_PRODUCT_NAME = "productName";
const std::string EVENT_KEY_REDIR_TYPE_LIST = "redirTypeList";
const std::string EVENT_KEY_REDIRTYPE = "redirtype";
const std::string EVENT_KEY_REMOTE_POLICY = "remotePolicy";
const std::string EVENT_KEY_CONTEXT = "context";
const std::string EVENT_KEY_START_TS = "startTs";
const std::string EVENT_KEY_STATUS = "status";
const std::string EVENT_KEY_STEP = "step";
const std::string EVENT_KEY_SUCCESS = "success";
const std::string EVENT_KEY_TIME_MS = "TimeMs";
const std::string EVENT_KEY_EVENT_TYPE = "eventType";
const std::string EVENT_KEY_TURBOUSB = "turbousb";
const std::string EVENT_KEY_VID = "vid";
const std::string EVENT_KEY_VM_CONTEXT_ID = "vmContextId";
const std::string EVENT_KEY_VMID = "vmid";
const std::string EVENT_KEY_QUVANI_POLICY = "quvaniPolicy";
const std::string EVENT_KEY_CPD_MODULE = "cpdModule";

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
