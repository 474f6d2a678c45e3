#pragma once
// The engine's main thread is the Qt event loop: invoke is a blocking queued call, post a queued
// one. Calls from the GUI thread itself run at once.

#include "core/MainThread.h"

#include <QObject>

namespace tpc::ui {

class QtMainThread final : public core::MainThread {
public:
    QtMainThread();
    ~QtMainThread() override;

    void invoke(Task task) override;
    void post(Task task) override;
    bool isMainThread() const override;

private:
    // Lives on the GUI thread; queued calls are delivered to it.
    QObject* receiver_;
};

} // namespace tpc::ui
