#include "core/Frontend.h"

namespace tpc::core {

const char* mainButtonName(MainButton button) {
    switch (button) {
    case MainButton::AutoClean:
        return "Auto clean";
    case MainButton::Browsers:
        return "Browsers";
    case MainButton::Recents:
        return "Recents";
    case MainButton::System:
        return "System";
    case MainButton::IPhoto:
        return "iPhoto";
    case MainButton::FileEraser:
        return "File eraser";
    case MainButton::Extensions:
        return "Extensions";
    case MainButton::Preferences:
        return "Preferences";
    }
    return "";
}

bool ButtonUpdate::enabledAfter(bool enabledBefore) const {
    bool enabled = enabledBefore;
    if (setEnabled)
        enabled = *setEnabled;
    // "setHidden" never hides: callers use it to disable, so YES leaves the button disabled
    // (and visible) and NO enables it.
    if (setHidden)
        enabled = !*setHidden;
    return enabled;
}

} // namespace tpc::core
