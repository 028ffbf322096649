// Stored documents written out by hand in the form the policy store keeps them in.
#pragma once

#include <string>

namespace cpd::test {

inline const std::string ONE_XBOX_ENTRY = R"([
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   }
]
)";

inline const std::string XBOX_AND_DUALSENSE = R"([
   {
      "describe" : "Xbox Controller",
      "mapping" : 6,
      "vidpid" : "045e:028e"
   },
   {
      "describe" : "DualSense Wireless Controller",
      "mapping" : 1,
      "vidpid" : "054c:0ce6"
   }
]
)";

}  // namespace cpd::test
