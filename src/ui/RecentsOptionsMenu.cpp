#include "ui/RecentsOptionsMenu.h"

#include "apps/AppCatalogue.h"
#include "apps/AppKeys.h"
#include "core/Value.h"

namespace tpc::ui {

namespace {

const char* const kFlagProperty = "optionFlag";

} // namespace

RecentsOptionsMenu::RecentsOptionsMenu(apps::AppCatalogue& catalogue, int row, QWidget* parent)
    : QMenu(parent), catalogue_(catalogue), row_(row) {
    setObjectName(QStringLiteral("recentsOptionsMenu"));
    const core::ArrayRef rows = catalogue_.arrayRecents();
    const core::DictRef rec = rows && row >= 0 && static_cast<std::size_t>(row) < rows->size()
                                  ? rows->at(static_cast<std::size_t>(row)).dict()
                                  : nullptr;
    for (const char* flag : apps::keys::kOptionFlags) {
        QAction* action = addAction(QString::fromLatin1(flag));
        action->setProperty(kFlagProperty, QString::fromLatin1(flag));
        action->setCheckable(true);
        action->setChecked(rec && rec->getInt(flag) == 1);
        action->setEnabled(rec && catalogue_.optionAvailable(flag));
        const std::string name = flag;
        connect(action, &QAction::toggled, this, [this, name](bool on) {
            catalogue_.setOption(row_, name, on);
            if (onOptionChanged)
                onOptionChanged(name, on);
        });
    }
}

QAction* RecentsOptionsMenu::optionAction(const std::string& flag) const {
    for (QAction* action : actions())
        if (action->property(kFlagProperty).toString().toStdString() == flag)
            return action;
    return nullptr;
}

} // namespace tpc::ui
