#pragma once
// Everything the engine asks the user interface to do. Every call is made on the main thread
// (workers go through MainThread). The desktop application, the command line and the tests each
// implement it.

#include "core/Alert.h"
#include "core/ProgressMessage.h"
#include "core/Value.h"

#include <functional>
#include <optional>
#include <string>

namespace tpc::core {

// The main buttons whose subtitles the features set.
enum class MainButton {
    AutoClean,
    Browsers,
    Recents,
    System,
    IPhoto,
    FileEraser,
    Extensions,
    Preferences
};
// "Auto clean", "Browsers", "Recents", "System", "iPhoto", "File eraser", "Extensions",
// "Preferences".
const char* mainButtonName(MainButton button);

// A button update ("button", "setEnabled", "setHidden", "setTitle", "setImage"). "setHidden"
// is applied as the button's enabled state, never its visibility.
struct ButtonUpdate {
    std::string button;
    std::optional<bool> setEnabled;
    std::optional<bool> setHidden;
    std::optional<std::string> setTitle;
    std::optional<std::string> setImage;

    // The enabled state this update leaves the button in, given the state it had.
    bool enabledAfter(bool enabledBefore) const;
};

class Frontend {
public:
    virtual ~Frontend() = default;

    virtual void updateProgress(const ProgressMessage& message) = 0;
    virtual void beginProgressWindow() = 0;
    virtual void endProgressWindow() = 0;
    // The progress sheet's one button: its title and what pressing it does.
    virtual void setAbortButton(const std::string& title, std::function<void()> action) = 0;
    // The result line; nullopt clears it (" " and no light bulb).
    virtual void updateTextFieldResult(const std::optional<std::string>& text) = 0;
    // Runs a modal alert and answers 1 (default), 0 (alternate) or -1 (other).
    virtual int showAlert(const AlertRequest& request) = 0;
    virtual void setSubtitle(MainButton button, const std::optional<std::string>& text) = 0;
    virtual void updateButton(const ButtonUpdate& update) = 0;
    // The status item's busy animation.
    virtual void startAnimating() = 0;
    virtual void stopAnimating() = 0;
    virtual void bringMainWindowToFront() = 0;
    // Any other interface request (enable or disable a page, reload a list); free form.
    virtual void ui(const std::string& action, const Value& detail = {}) = 0;
    // Sleep prevention taken around a preset clean (`registered`, with the two sleep options in
    // force) or released at its end (`registered` false).
    virtual void powerEvent(bool registered, bool normal, bool forced) {
        (void)registered;
        (void)normal;
        (void)forced;
    }
};

} // namespace tpc::core
