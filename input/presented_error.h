// An error shown to the user as the desktop toolkit presents one: a domain,
// a code and the message. Reading an input makes them; the window shows them.
#pragma once

#include <string>

namespace brinora {

struct PresentedError {
    std::string domain;                // "BrinoraApp" for the controller's own messages
    int code = 0;                      // 0 for the controller's own messages
    std::string localizedDescription;  // the message, shown as it is
};

}  // namespace brinora
