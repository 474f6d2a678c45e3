#include "ui/QtMainThread.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

namespace tpc::ui {

QtMainThread::QtMainThread() : receiver_(new QObject) {
    receiver_->moveToThread(QCoreApplication::instance()->thread());
}

QtMainThread::~QtMainThread() {
    delete receiver_;
}

bool QtMainThread::isMainThread() const {
    return QThread::currentThread() == receiver_->thread();
}

void QtMainThread::invoke(Task task) {
    if (isMainThread()) {
        task();
        return;
    }
    QMetaObject::invokeMethod(receiver_, std::move(task), Qt::BlockingQueuedConnection);
}

void QtMainThread::post(Task task) {
    QMetaObject::invokeMethod(receiver_, std::move(task), Qt::QueuedConnection);
}

} // namespace tpc::ui
