#include "ui/QtFrontend.h"

#include "ui/MainWindow.h"
#include "ui/ProgressSheet.h"
#include "ui/Resources.h"
#include "ui/StatusItem.h"

#include <QAbstractButton>
#include <QIcon>
#include <QPixmap>
#include <QPushButton>

namespace tpc::ui {

namespace {

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

std::optional<QString> qs(const std::optional<std::string>& s) {
    if (!s)
        return std::nullopt;
    return qs(*s);
}

} // namespace

int AlertBox::resultFor(const QAbstractButton* clicked) const {
    for (const auto& [button, result] : answers)
        if (button == clicked)
            return result;
    return core::AlertOther;
}

QAbstractButton* AlertBox::buttonFor(int result) const {
    for (const auto& [button, answer] : answers)
        if (answer == result)
            return button;
    return nullptr;
}

AlertBox makeAlertBox(const core::AlertRequest& request, QWidget* parent) {
    AlertBox alert;
    alert.box = std::make_unique<QMessageBox>(parent);
    QMessageBox& box = *alert.box;
    box.setWindowTitle(qs(request.title));
    box.setText(qs(request.title));
    box.setInformativeText(qs(request.message));
    box.setTextFormat(Qt::PlainText);

    QPushButton* defaultButton = nullptr;
    QPushButton* alternateButton = nullptr;
    if (request.defaultButton) {
        defaultButton = box.addButton(qs(*request.defaultButton), QMessageBox::AcceptRole);
        alert.answers.emplace_back(defaultButton, core::AlertDefault);
    }
    if (request.alternateButton) {
        alternateButton = box.addButton(qs(*request.alternateButton), QMessageBox::RejectRole);
        alert.answers.emplace_back(alternateButton, core::AlertAlternate);
    }
    if (request.otherButton) {
        auto* other = box.addButton(qs(*request.otherButton), QMessageBox::ActionRole);
        alert.answers.emplace_back(other, core::AlertOther);
    }
    if (alert.answers.empty()) {
        // Something has to dismiss the alert; it acknowledges, as a default button would.
        defaultButton = box.addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
        alert.answers.emplace_back(defaultButton, core::AlertDefault);
    }

    if (defaultButton)
        box.setDefaultButton(defaultButton);
    // Escape answers as the alternate button; with a single button, as that one.
    if (alternateButton)
        box.setEscapeButton(alternateButton);
    else if (alert.answers.size() == 1)
        box.setEscapeButton(alert.answers.front().first);
    return alert;
}

QtFrontend::QtFrontend(MainWindow& window, ProgressSheet& sheet, StatusItem& statusItem)
    : window_(window), sheet_(sheet), statusItem_(statusItem) {}

void QtFrontend::updateProgress(const core::ProgressMessage& message) {
    sheet_.apply(message);
}

void QtFrontend::beginProgressWindow() {
    sheet_.begin();
}

void QtFrontend::endProgressWindow() {
    sheet_.end();
}

void QtFrontend::setAbortButton(const std::string& title, std::function<void()> action) {
    sheet_.setAbortButton(qs(title), std::move(action));
}

void QtFrontend::updateTextFieldResult(const std::optional<std::string>& text) {
    window_.setResultText(qs(text));
}

int QtFrontend::showAlert(const core::AlertRequest& request) {
    if (alertOverride)
        return alertOverride(request);
    AlertBox alert = makeAlertBox(request, &window_);
    alert.box->exec();
    return alert.resultFor(alert.box->clickedButton());
}

void QtFrontend::setSubtitle(core::MainButton button, const std::optional<std::string>& text) {
    if (HoverButton* b = window_.mainButton(button))
        b->setSubTitle(qs(text));
}

void QtFrontend::registerButton(const std::string& name, QAbstractButton* button) {
    buttons_[name] = button;
}

QAbstractButton* QtFrontend::registeredButton(const std::string& name) const {
    auto it = buttons_.find(name);
    return it == buttons_.end() ? nullptr : it->second.data();
}

void QtFrontend::updateButton(const core::ButtonUpdate& update) {
    QAbstractButton* button = registeredButton(update.button);
    if (!button)
        return;
    // The button's own state, not the one its disabled parent page lends it.
    const bool enabledBefore = !button->testAttribute(Qt::WA_ForceDisabled);
    button->setEnabled(update.enabledAfter(enabledBefore));
    if (update.setTitle)
        button->setText(qs(*update.setTitle));
    if (update.setImage)
        button->setIcon(QIcon(QPixmap::fromImage(image(qs(*update.setImage)))));
}

void QtFrontend::startAnimating() {
    statusItem_.startAnimating();
}

void QtFrontend::stopAnimating() {
    statusItem_.stopAnimating();
}

void QtFrontend::bringMainWindowToFront() {
    if (window_.isMinimized())
        window_.showNormal();
    else
        window_.show();
    window_.raise();
    window_.activateWindow();
}

void QtFrontend::ui(const std::string& action, const core::Value& detail) {
    lastUiAction_ = action;
    if (action == "showMainWindow") {
        bringMainWindowToFront();
        return;
    }
    if (onUi)
        onUi(action, detail);
}

} // namespace tpc::ui
