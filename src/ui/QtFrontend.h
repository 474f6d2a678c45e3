#pragma once
// The desktop application's front end: what the engine asks of the interface, done with the main
// window, the progress sheet and the status item. Every call arrives on the GUI thread.

#include "core/Frontend.h"

#include <QMessageBox>
#include <QPointer>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class QAbstractButton;
class QWidget;

namespace tpc::ui {

class MainWindow;
class ProgressSheet;
class StatusItem;

// A modal alert built from a request, not yet run, and which button answers what.
struct AlertBox {
    std::unique_ptr<QMessageBox> box;
    std::vector<std::pair<QAbstractButton*, int>> answers;

    // The result code of the button pressed (the box's clickedButton()); a box closed without a
    // known button answers the "other" code.
    int resultFor(const QAbstractButton* clicked) const;
    QAbstractButton* buttonFor(int result) const;
};

// The default button is the box's default (accept role), the alternate its reject role, the
// other a third button; an alert without buttons gets one "OK" that answers as the default.
AlertBox makeAlertBox(const core::AlertRequest& request, QWidget* parent);

class QtFrontend : public core::Frontend {
public:
    QtFrontend(MainWindow& window, ProgressSheet& sheet, StatusItem& statusItem);

    void updateProgress(const core::ProgressMessage& message) override;
    void beginProgressWindow() override;
    void endProgressWindow() override;
    void setAbortButton(const std::string& title, std::function<void()> action) override;
    void updateTextFieldResult(const std::optional<std::string>& text) override;
    int showAlert(const core::AlertRequest& request) override;
    void setSubtitle(core::MainButton button, const std::optional<std::string>& text) override;
    void updateButton(const core::ButtonUpdate& update) override;
    void startAnimating() override;
    void stopAnimating() override;
    void bringMainWindowToFront() override;
    void ui(const std::string& action, const core::Value& detail = {}) override;

    // The controls that button updates may name. A button deleted later is simply no longer
    // found; registering a name again replaces the button.
    void registerButton(const std::string& name, QAbstractButton* button);
    QAbstractButton* registeredButton(const std::string& name) const;

    // Answers alerts instead of running a modal box (tests).
    std::function<int(const core::AlertRequest&)> alertOverride;
    // Interface requests other than "showMainWindow", for the pages that handle them.
    std::function<void(const std::string& action, const core::Value& detail)> onUi;
    const std::string& lastUiAction() const { return lastUiAction_; }

private:
    MainWindow& window_;
    ProgressSheet& sheet_;
    StatusItem& statusItem_;
    std::map<std::string, QPointer<QAbstractButton>> buttons_;
    std::string lastUiAction_;
};

} // namespace tpc::ui
