// The boundary to the client's secure configuration library.
//
// `sd::SDConfig` belongs to that library: GetInstance, GetSecure and SetSecure are resolved when
// the bridge is loaded, from the host if it defines them, else from the default store that ships
// beside the bridge. (On Windows a host brings them as a cpd_joystick_store.dll of its own, in
// its folder.) The bridge itself defines only the assignment operators below and the special
// members of `sd::SDConfigService`.
#pragma once

#include <string>

#include "cpd_joystick/export.h"

namespace sd {

// Members are marked one by one: the store's three come from the store's module (or the host),
// the assignment operators from the bridge.
class SDConfig {
 public:
  // The process-wide store, or null when no store is available.
  CPD_SECURE_STORE_API static SDConfig* GetInstance();

  // The text stored under `key`; empty when nothing is stored.
  CPD_SECURE_STORE_API std::string GetSecure(const std::string& key);
  // Stores `value` under `key`; false when it could not be stored.
  CPD_SECURE_STORE_API bool SetSecure(const std::string& key, const std::string& value);

  SDConfig() = default;
  CPD_JOYSTICK_API SDConfig& operator=(const SDConfig& other);
  CPD_JOYSTICK_API SDConfig& operator=(SDConfig&& other) noexcept;
};

class DMConfig {
 public:
  DMConfig() = default;
  CPD_JOYSTICK_API DMConfig& operator=(const DMConfig& other);
  CPD_JOYSTICK_API DMConfig& operator=(DMConfig&& other) noexcept;
};

// Interface of the configuration library's service objects. The bridge exports its special
// members so that a client can derive from it; the bridge neither implements nor calls the two
// operations.
class CPD_JOYSTICK_API SDConfigService {
 public:
  SDConfigService();
  SDConfigService(const SDConfigService& other);
  virtual ~SDConfigService();
  SDConfigService& operator=(const SDConfigService& other);

  virtual std::string GetValue(const std::string& key) = 0;
  virtual bool SetValue(const std::string& key, const std::string& value) = 0;
};

}  // namespace sd
