#include "support/RecordingFrontend.h"

namespace tpc::test {

void RecordingFrontend::record(FrontendEvent event) {
    std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
}

void RecordingFrontend::updateProgress(const ProgressMessage& message) {
    std::lock_guard lock(mutex_);
    progress_.apply(message);
    FrontendEvent e(FrontendEvent::Type::Progress);
    e.progress = message;
    record(std::move(e));
}

void RecordingFrontend::beginProgressWindow() {
    std::lock_guard lock(mutex_);
    windowShown_ = true;
    FrontendEvent e(FrontendEvent::Type::Window);
    e.action = "begin";
    record(std::move(e));
}

void RecordingFrontend::endProgressWindow() {
    std::lock_guard lock(mutex_);
    windowShown_ = false;
    FrontendEvent e(FrontendEvent::Type::Window);
    e.action = "end";
    record(std::move(e));
}

void RecordingFrontend::setAbortButton(const std::string& title, std::function<void()> action) {
    std::lock_guard lock(mutex_);
    abortTitle_ = title;
    abortAction_ = std::move(action);
    FrontendEvent e(FrontendEvent::Type::AbortButton);
    e.text = title;
    record(std::move(e));
}

void RecordingFrontend::updateTextFieldResult(const std::optional<std::string>& text) {
    std::lock_guard lock(mutex_);
    result_ = text;
    FrontendEvent e(FrontendEvent::Type::Result);
    e.text = text;
    record(std::move(e));
}

int RecordingFrontend::showAlert(const AlertRequest& request) {
    std::lock_guard lock(mutex_);
    int answer = core::AlertDefault;
    if (!answers_.empty()) {
        answer = answers_.front();
        answers_.pop_front();
    }
    FrontendEvent e(FrontendEvent::Type::Alert);
    e.alert = request;
    e.answer = answer;
    record(std::move(e));
    return answer;
}

void RecordingFrontend::setSubtitle(MainButton button, const std::optional<std::string>& text) {
    std::lock_guard lock(mutex_);
    subtitles_[button] = text;
    FrontendEvent e(FrontendEvent::Type::Subtitle);
    e.button = button;
    e.text = text;
    record(std::move(e));
}

void RecordingFrontend::updateButton(const ButtonUpdate& update) {
    FrontendEvent e(FrontendEvent::Type::Button);
    e.buttonUpdate = update;
    record(std::move(e));
}

void RecordingFrontend::startAnimating() {
    FrontendEvent e(FrontendEvent::Type::Animation);
    e.action = "start";
    record(std::move(e));
}

void RecordingFrontend::stopAnimating() {
    FrontendEvent e(FrontendEvent::Type::Animation);
    e.action = "stop";
    record(std::move(e));
}

void RecordingFrontend::bringMainWindowToFront() {
    record(FrontendEvent(FrontendEvent::Type::Front));
}

void RecordingFrontend::ui(const std::string& action, const Value& detail) {
    FrontendEvent e(FrontendEvent::Type::Ui);
    e.action = action;
    e.detail = detail;
    record(std::move(e));
}

void RecordingFrontend::powerEvent(bool registered, bool normal, bool forced) {
    FrontendEvent e(FrontendEvent::Type::Power);
    e.action = registered ? "register" : "deregister";
    e.normal = normal;
    e.forced = forced;
    record(std::move(e));
}

void RecordingFrontend::scriptAlertAnswers(std::vector<int> answers) {
    std::lock_guard lock(mutex_);
    answers_.assign(answers.begin(), answers.end());
}

void RecordingFrontend::pressAbortButton() {
    std::function<void()> action;
    {
        std::lock_guard lock(mutex_);
        action = abortAction_;
    }
    if (action)
        action();
}

std::vector<FrontendEvent> RecordingFrontend::events() const {
    std::lock_guard lock(mutex_);
    return events_;
}

std::vector<FrontendEvent> RecordingFrontend::eventsOf(FrontendEvent::Type type) const {
    std::lock_guard lock(mutex_);
    std::vector<FrontendEvent> out;
    for (const auto& e : events_)
        if (e.type == type)
            out.push_back(e);
    return out;
}

void RecordingFrontend::clear() {
    std::lock_guard lock(mutex_);
    events_.clear();
}

ProgressState RecordingFrontend::progressState() const {
    std::lock_guard lock(mutex_);
    return progress_;
}

bool RecordingFrontend::progressWindowShown() const {
    std::lock_guard lock(mutex_);
    return windowShown_;
}

std::optional<std::string> RecordingFrontend::resultText() const {
    std::lock_guard lock(mutex_);
    return result_;
}

std::optional<std::string> RecordingFrontend::subtitle(MainButton button) const {
    std::lock_guard lock(mutex_);
    auto it = subtitles_.find(button);
    return it == subtitles_.end() ? std::nullopt : it->second;
}

std::string RecordingFrontend::abortButtonTitle() const {
    std::lock_guard lock(mutex_);
    return abortTitle_;
}

} // namespace tpc::test
