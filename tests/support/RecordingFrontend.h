#pragma once
// A front end that records every request in order and answers alerts from a script (the
// default button when the script is empty). Used by the tests and the benchmarks.

#include "core/Frontend.h"

#include <deque>
#include <map>
#include <mutex>
#include <vector>

namespace tpc::test {

using core::AlertRequest;
using core::ButtonUpdate;
using core::Frontend;
using core::MainButton;
using core::ProgressMessage;
using core::ProgressState;
using core::Value;

struct FrontendEvent {
    enum class Type {
        Progress,
        Window,
        Result,
        Subtitle,
        Alert,
        AbortButton,
        Button,
        Animation,
        Front,
        Ui,
        Power
    };
    explicit FrontendEvent(Type t) : type(t) {}
    Type type;
    ProgressMessage progress;        // Progress
    std::string action;              // Window: "begin"/"end"; Animation: "start"/"stop"; Ui; Power
    std::optional<std::string> text; // Result, Subtitle, AbortButton title
    MainButton button = MainButton::AutoClean; // Subtitle
    AlertRequest alert;                        // Alert
    int answer = 0;                            // Alert
    ButtonUpdate buttonUpdate;                 // Button
    Value detail;                              // Ui
    bool normal = false, forced = false;       // Power (register)
};

class RecordingFrontend : public Frontend {
public:
    void updateProgress(const ProgressMessage& message) override;
    void beginProgressWindow() override;
    void endProgressWindow() override;
    void setAbortButton(const std::string& title, std::function<void()> action) override;
    void updateTextFieldResult(const std::optional<std::string>& text) override;
    int showAlert(const AlertRequest& request) override;
    void setSubtitle(MainButton button, const std::optional<std::string>& text) override;
    void updateButton(const ButtonUpdate& update) override;
    void startAnimating() override;
    void stopAnimating() override;
    void bringMainWindowToFront() override;
    void ui(const std::string& action, const Value& detail = {}) override;
    void powerEvent(bool registered, bool normal, bool forced) override;

    // Answers for the coming alerts, in order.
    void scriptAlertAnswers(std::vector<int> answers);
    // Presses the progress sheet's button, as a user would.
    void pressAbortButton();

    std::vector<FrontendEvent> events() const;
    std::vector<FrontendEvent> eventsOf(FrontendEvent::Type type) const;
    void clear();
    // The progress sheet as the messages so far left it.
    ProgressState progressState() const;
    bool progressWindowShown() const;
    std::optional<std::string> resultText() const;
    std::optional<std::string> subtitle(MainButton button) const;
    std::string abortButtonTitle() const;

protected:
    void record(FrontendEvent event);

private:
    mutable std::recursive_mutex mutex_;
    std::vector<FrontendEvent> events_;
    std::deque<int> answers_;
    ProgressState progress_;
    bool windowShown_ = false;
    std::optional<std::string> result_;
    std::map<MainButton, std::optional<std::string>> subtitles_;
    std::string abortTitle_;
    std::function<void()> abortAction_;
};

} // namespace tpc::test
