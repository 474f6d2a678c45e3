#pragma once
// How a category page joins the window and its engine, the same for every page: the window shows
// it as page `id` and calls its pageOpened() when its main button opens it; the engine's hooks
// switch the page's controls off while a task runs and reload its lists. The hooks hold the page
// weakly, so an engine that outlives the page calls nothing.

#include "core/CategoryEngine.h"
#include "ui/MainWindow.h"

#include <QPointer>
#include <QPushButton>
#include <QString>

namespace tpc::ui {

template <class Page> void attachPage(Page* page, MainWindow& window, const QString& id) {
    window.setPageContent(id, page);
    QPointer<Page> self(page);
    window.onPageOpened[id] = [self] {
        if (self)
            self->pageOpened();
    };
}

template <class Page> core::PageHooks pageHooks(Page* page, void (Page::*reload)()) {
    QPointer<Page> self(page);
    auto enable = [self](bool on) {
        return [self, on] {
            if (self)
                self->setControlsEnabled(on);
        };
    };
    core::PageHooks h;
    h.disableForScan = enable(false);
    h.enableAfterScan = enable(true);
    h.disableForClean = enable(false);
    h.enableAfterClean = enable(true);
    h.reloadLists = [self, reload] {
        if (self)
            (self.data()->*reload)();
    };
    return h;
}

// The window's shared Clean button, while page `id` is the one last opened (the button is the
// page's only then); null otherwise.
inline QPushButton* sharedCleanButton(const QPointer<MainWindow>& window, const QString& id) {
    if (!window || window->lastTabID() != id)
        return nullptr;
    return window->cleanButton();
}

// Points the shared Clean button, if the page has it, at the engine's clean. The window drops
// the button's earlier connections each time a page is opened.
inline void pointCleanButton(QPushButton* clean, QObject* page, core::CategoryEngine& engine) {
    if (clean)
        QObject::connect(clean, &QPushButton::clicked, page,
                         [&engine] { engine.buttonCleanClicked(core::Sender::Button); });
}

} // namespace tpc::ui
