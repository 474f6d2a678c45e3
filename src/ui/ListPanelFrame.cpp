#include "ui/ListPanelFrame.h"

#include "core/Keys.h"
#include "ui/MasterCheckBox.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace tpc::ui {

ListPanelFrame::ListPanelFrame(const QString& title, QWidget* parent) : QWidget(parent) {
    master_ = new MasterCheckBox(title, this);
    sortPopUp_ = new QComboBox(this);
    for (const char* entry :
         {core::keys::DefaultSort, core::keys::SortByName, core::keys::SortBySize})
        sortPopUp_->addItem(QString::fromLatin1(entry));

    master_->onClicked = [this](core::CheckState shown) {
        if (onMasterClicked)
            onMasterClicked(shown);
    };
    connect(sortPopUp_, &QComboBox::activated, this, [this](int index) {
        if (onSortChosen)
            onSortChosen(static_cast<core::SortChoice>(index));
    });
}

void ListPanelFrame::placeList(QWidget* list) {
    auto* header = new QHBoxLayout;
    header->setContentsMargins(6, 0, 0, 0);
    header->addWidget(master_);
    header->addStretch(1);
    header->addWidget(sortPopUp_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addLayout(header);
    layout->addWidget(list, 1);
}

QString ListPanelFrame::listStyleSheet(const char* viewClass, const char* itemRule) {
    return QStringLiteral(
               "%1 {\n"
               "    border: 1px solid #dde3ea; border-radius: 6px; background: #ffffff;\n"
               "    alternate-background-color: #f6f8fb; selection-background-color: "
               "#dbe8f6;\n"
               "    selection-color: #1f2933; outline: 0;\n"
               "}\n"
               "%1::item { %2 }\n")
        .arg(QLatin1String(viewClass), QLatin1String(itemRule));
}

void ListPanelFrame::showMasterState(core::CheckState state) {
    master_->showState(state);
}

void ListPanelFrame::showSort(core::SortChoice choice) {
    sortPopUp_->setCurrentIndex(static_cast<int>(choice));
}

} // namespace tpc::ui
