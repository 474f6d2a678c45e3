#include "ui/RecordNameDelegate.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "ui/CheckListModel.h"
#include "ui/Resources.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QPixmap>
#include <QToolTip>

namespace tpc::ui {

namespace {

constexpr int kIconSize = 18;
constexpr int kCountGap = 10;
const QColor kCountColor(0x7b, 0x87, 0x94);

} // namespace

RecordNameDelegate::RecordNameDelegate(const CheckListModel& model, QObject* parent)
    : QStyledItemDelegate(parent), model_(model) {}

QString RecordNameDelegate::countText(int row) const {
    const core::DictRef rec = model_.record(row);
    return rec ? QString::fromStdString(rec->getString(core::keys::Count)) : QString();
}

QIcon RecordNameDelegate::icon(int row) const {
    const core::DictRef dd = core::descriptionDictionary(model_.record(row));
    if (!dd)
        return {};
    const core::Value& value = dd->get(core::keys::Icon);
    if (const std::string* name = value.string()) {
        return icons_.named(QString::fromStdString(*name));
    }
    if (const core::Data* bytes = value.data()) {
        QImage picture;
        picture.loadFromData(reinterpret_cast<const uchar*>(bytes->data()),
                             static_cast<int>(bytes->size()));
        return picture.isNull() ? QIcon() : QIcon(QPixmap::fromImage(picture));
    }
    return {};
}

void RecordNameDelegate::initStyleOption(QStyleOptionViewItem* option,
                                         const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    const QIcon picture = icon(index.row());
    if (!picture.isNull()) {
        option->icon = picture;
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->decorationSize = QSize(kIconSize, kIconSize);
    }
}

void RecordNameDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QString name = opt.text;
    const QString count = countText(index.row());
    const QWidget* widget = opt.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();

    // Background, selection, picture and focus as any cell; the two texts drawn by hand.
    opt.text.clear();
    style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, widget);
    opt.text = name;
    QRect textRect = style->subElementRect(QStyle::SE_ItemViewItemText, &opt, widget);

    painter->save();
    const QFontMetrics metrics(opt.font);
    if (!count.isEmpty()) {
        const int countWidth = metrics.horizontalAdvance(count);
        QRect countRect = textRect;
        countRect.setLeft(textRect.right() - countWidth);
        painter->setPen(kCountColor);
        painter->drawText(countRect, Qt::AlignRight | Qt::AlignVCenter, count);
        textRect.setRight(countRect.left() - kCountGap);
    }
    const bool selected = opt.state & QStyle::State_Selected;
    painter->setPen(
        opt.palette.color(opt.state & QStyle::State_Enabled ? QPalette::Normal : QPalette::Disabled,
                          selected ? QPalette::HighlightedText : QPalette::Text));
    painter->drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                      metrics.elidedText(name, Qt::ElideRight, textRect.width()));
    painter->restore();
}

bool RecordNameDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                   const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event && event->type() == QEvent::ToolTip) {
        const QString count = countText(index.row());
        if (!count.isEmpty()) {
            // The path when the model offers one, else the name; the count after it.
            QString tip = index.data(Qt::ToolTipRole).toString();
            if (tip.isEmpty())
                tip = index.data(Qt::DisplayRole).toString();
            QToolTip::showText(event->globalPos(), tip + QStringLiteral(" \u2014 ") + count, view);
            return true;
        }
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

} // namespace tpc::ui
