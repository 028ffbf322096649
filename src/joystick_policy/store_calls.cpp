#include "joystick_policy/store_calls.h"

#include <exception>
#include <utility>

#include "common/log.h"
#include "cpd_joystick/sd_config.h"
#include "joystick_policy/policy_document.h"

namespace cpd::policy {

namespace {

// Which lines one kind of store call reports, and on behalf of which operation: hosts filter the
// log by the function names they have always seen.
struct CallLines {
  const char* origin;
  StoreLineKind noStore;
  StoreLineKind failed;
};

constexpr CallLines READ_AT_START{"ReadStoredPolicy", StoreLineKind::NO_STORE_AT_START,
                                  StoreLineKind::READ_FAILED};
constexpr CallLines READ_BACK{"ReadStoredPolicyBack", StoreLineKind::NO_STORE_CHANGE_PENDING,
                              StoreLineKind::READ_BACK_FAILED};
constexpr CallLines WRITE{"WriteStoredPolicy", StoreLineKind::NO_STORE_CHANGE_PENDING,
                          StoreLineKind::WRITE_FAILED};

// Runs `call` on the host's store. False when there is no store or the call threw; the line that
// says so goes to `lines`.
template <typename Call>
bool CallStore(const CallLines& said, StoreLines& lines, Call&& call) {
  try {
    sd::SDConfig* store = sd::SDConfig::GetInstance();
    if (store == nullptr) {
      lines.Add({said.noStore, said.origin, {}, false});
      return false;
    }
    std::forward<Call>(call)(*store);
    return true;
  } catch (const std::exception& error) {
    lines.Add({said.failed, said.origin, error.what(), true});
  } catch (...) {
    lines.Add({said.failed, said.origin, {}, false});
  }
  return false;
}

void LogFailure(StoreLineKind kind, const char* origin, const char* detail) {
  switch (kind) {
    case StoreLineKind::READ_FAILED:
      CPD_LOG_ERROR_IN(origin, "reading the policy failed: %s\n", detail);
      return;
    case StoreLineKind::READ_BACK_FAILED:
      CPD_LOG_ERROR_IN(origin, "reading the policy back failed, change kept pending: %s\n", detail);
      return;
    default:
      CPD_LOG_ERROR_IN(origin, "writing the policy failed, change kept pending: %s\n", detail);
      return;
  }
}

void LogFailureWithoutDetail(StoreLineKind kind, const char* origin) {
  switch (kind) {
    case StoreLineKind::READ_FAILED:
      CPD_LOG_ERROR_IN(origin, "reading the policy failed\n");
      return;
    case StoreLineKind::READ_BACK_FAILED:
      CPD_LOG_ERROR_IN(origin, "reading the policy back failed, change kept pending\n");
      return;
    default:
      CPD_LOG_ERROR_IN(origin, "writing the policy failed, change kept pending\n");
      return;
  }
}

void Log(const StoreLine& line) {
  switch (line.kind) {
    case StoreLineKind::NO_STORE_AT_START:
      CPD_LOG_ERROR_IN(line.origin, "no secure store, starting with an empty policy\n");
      return;
    case StoreLineKind::NO_STORE_CHANGE_PENDING:
      CPD_LOG_ERROR_IN(line.origin, "no secure store, policy change kept pending\n");
      return;
    case StoreLineKind::WRITING:
      CPD_LOG_DEBUG_IN(line.origin, "config mPolicyStr  %s\n", line.detail.c_str());
      return;
    default:
      if (line.hasDetail) {
        LogFailure(line.kind, line.origin, line.detail.c_str());
      } else {
        LogFailureWithoutDetail(line.kind, line.origin);
      }
      return;
  }
}

}  // namespace

void StoreLines::Add(StoreLine line) {
  if (mDeferred) {
    mKept.push_back(std::move(line));
  } else {
    Log(line);
  }
}

void StoreLines::Flush() {
  mDeferred = false;
  std::vector<StoreLine> kept;
  kept.swap(mKept);
  for (const StoreLine& line : kept) {
    Log(line);
  }
}

std::string ReadStoredPolicy(StoreLines& lines) {
  std::string text;
  if (!CallStore(READ_AT_START, lines,
                 [&text](sd::SDConfig& store) { text = store.GetSecure(POLICY_STORE_KEY); })) {
    text.clear();
  }
  return text;
}

bool ReadStoredPolicyBack(std::string& text, StoreLines& lines) {
  return CallStore(READ_BACK, lines,
                   [&text](sd::SDConfig& store) { text = store.GetSecure(POLICY_STORE_KEY); });
}

bool WriteStoredPolicy(const std::string& text, StoreLines& lines) {
  bool taken = false;
  return CallStore(WRITE, lines,
                   [&](sd::SDConfig& store) { taken = store.SetSecure(POLICY_STORE_KEY, text); }) &&
         taken;
}

}  // namespace cpd::policy
