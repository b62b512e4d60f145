#include "itemdelegate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QItemEditorFactory>
#include <QMessageBox>
#include <QMetaProperty>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>

#include <exception>

namespace {

QStyle* styleOf(const QStyleOptionViewItem& option)
{
    return option.widget ? option.widget->style() : QApplication::style();
}

} // namespace

ItemDelegate::ItemDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

ItemDelegate::~ItemDelegate() = default;

bool ItemDelegate::isCheckOnly(const QModelIndex& index)
{
    return index.data(Qt::CheckStateRole).isValid() &&
           index.data(Qt::DisplayRole).toString().isEmpty() &&
           !index.data(Qt::DecorationRole).isValid();
}

void ItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const
{
    if (!isCheckOnly(index)) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const Qt::CheckState state = opt.checkState;
    // The panel and focus without the style's own check box, then the box where we put it.
    opt.features &= ~QStyleOptionViewItem::HasCheckIndicator;
    QStyle* style = styleOf(opt);
    style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, opt.widget);

    QStyleOptionViewItem box = opt;
    box.rect = indicatorRect(option, index);
    box.state &= ~(QStyle::State_On | QStyle::State_Off | QStyle::State_NoChange);
    box.state |= state == Qt::Checked     ? QStyle::State_On
                 : state == Qt::Unchecked ? QStyle::State_Off
                                          : QStyle::State_NoChange;
    style->drawPrimitive(QStyle::PE_IndicatorItemViewItemCheck, &box, painter, opt.widget);
}

QRect ItemDelegate::indicatorRect(const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const
{
    if (!index.data(Qt::CheckStateRole).isValid())
        return QRect();
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    QStyle* style = styleOf(opt);
    const QRect styled =
        style->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &opt, opt.widget);
    if (!isCheckOnly(index))
        return styled;
    QRect centred(QPoint(0, 0), styled.size());
    centred.moveCenter(option.rect.center());
    return centred;
}

void ItemDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                const QModelIndex& index) const
{
    if (!editor || !model)
        return;
    // The editor's value as the base reads it: its user property, or the property that the
    // editor factory names for the type of the cell.
    QByteArray property = editor->metaObject()->userProperty().name();
    if (property.isEmpty()) {
        const QItemEditorFactory* factory =
            itemEditorFactory() ? itemEditorFactory() : QItemEditorFactory::defaultFactory();
        property = factory->valuePropertyName(model->data(index, Qt::EditRole).userType());
    }
    if (!property.isEmpty())
        commitModelData(model, index, editor->property(property), Qt::EditRole);
}

QSize ItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    if (!isCheckOnly(index))
        return QStyledItemDelegate::sizeHint(option, index);
    const QRect box = indicatorRect(option, index);
    const int margin = styleOf(option)->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1;
    return QSize(box.width() + 4 * margin, box.height() + 2 * margin);
}

bool ItemDelegate::commitModelData(QAbstractItemModel* model, const QModelIndex& index,
                                   const QVariant& value, int role) const
{
    if (!model || !index.isValid() || m_reporting)
        return false;
    QString error;
    try {
        return model->setData(index, value, role);
    } catch (const QString& text) {
        error = text;
    } catch (const std::exception& e) {
        error = QString::fromLocal8Bit(e.what());
    }
    showError(error);
    return false;
}

bool ItemDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                               const QStyleOptionViewItem& option, const QModelIndex& index)
{
    // The base writes check states straight into the model; here they go through
    // commitModelData, and a click counts only on the box where it is drawn.
    const Qt::ItemFlags flags = model ? model->flags(index) : Qt::ItemFlags();
    if (!(flags & Qt::ItemIsUserCheckable) || !(flags & Qt::ItemIsEnabled) ||
        !(option.state & QStyle::State_Enabled))
        return QStyledItemDelegate::editorEvent(event, model, option, index);
    const QVariant state = index.data(Qt::CheckStateRole);
    if (!state.isValid())
        return false;

    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() != Qt::LeftButton ||
            !indicatorRect(option, index).contains(mouse->pos()))
            return false;
        // The press and the double click are taken so that the view neither selects on
        // the box nor opens an editor there; the release toggles.
        if (event->type() != QEvent::MouseButtonRelease)
            return true;
        break;
    }
    case QEvent::KeyPress: {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key != Qt::Key_Space && key != Qt::Key_Select)
            return false;
        break;
    }
    default:
        return false;
    }

    Qt::CheckState next = static_cast<Qt::CheckState>(state.toInt());
    if (flags & Qt::ItemIsUserTristate)
        next = static_cast<Qt::CheckState>((next + 1) % 3);
    else
        next = next == Qt::Checked ? Qt::Unchecked : Qt::Checked;
    return commitModelData(model, index, next, Qt::CheckStateRole);
}

void ItemDelegate::showError(const QString& text) const
{
    m_reporting = true;
    QWidget* parentWidget = qobject_cast<QWidget*>(parent());
    if (!parentWidget)
        parentWidget = QApplication::activeWindow();
    QMessageBox::warning(parentWidget, tr("Ошибка"),
                         text.isEmpty() ? tr("Значение не может быть изменено.") : text);
    m_reporting = false;
}
