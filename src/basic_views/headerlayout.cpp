#include "headerlayout.h"

#include "database/settings.h"

#include <QAbstractItemModel>
#include <QHeaderView>
#include <QSet>

namespace {

const QString groupName = QStringLiteral("header");
const QString columnsKey = QStringLiteral("columns");
const QString hiddenKey = QStringLiteral("hidden");
const QString widthsKey = QStringLiteral("widths");
const QString sortColumnKey = QStringLiteral("sortColumn");
const QString sortOrderKey = QStringLiteral("sortOrder");

// Wider than any screen: a stored width beyond it is damage, not a choice.
const int maxWidth = 20000;

bool hiddenByDefault(const QAbstractItemModel* model, int section)
{
    return model->headerData(section, Qt::Horizontal, HeaderLayout::DefaultHiddenRole).toBool();
}

} // namespace

int HeaderLayout::indexOf(const QString& key) const
{
    for (int i = 0; i < columns.size(); ++i) {
        if (columns.at(i).key == key)
            return i;
    }
    return -1;
}

QString HeaderLayout::columnKey(const QAbstractItemModel* model, int section)
{
    if (!model)
        return QString();
    const QString name =
        model->headerData(section, Qt::Horizontal, ColumnNameRole).toString().trimmed();
    return name.isEmpty() ? QString::number(section) : name;
}

int HeaderLayout::sectionOf(const QAbstractItemModel* model, const QString& key)
{
    if (!model || key.isEmpty())
        return -1;
    const int count = model->columnCount();
    for (int section = 0; section < count; ++section) {
        if (columnKey(model, section) == key)
            return section;
    }
    return -1;
}

HeaderLayout HeaderLayout::defaults(const QAbstractItemModel* model)
{
    HeaderLayout layout;
    if (!model)
        return layout;
    const int count = model->columnCount();
    for (int section = 0; section < count; ++section) {
        Column column;
        column.key = columnKey(model, section);
        column.hidden = hiddenByDefault(model, section);
        layout.columns.append(column);
    }
    return layout;
}

HeaderLayout HeaderLayout::fromHeader(const QHeaderView* header)
{
    HeaderLayout layout;
    const QAbstractItemModel* model = header ? header->model() : nullptr;
    if (!model)
        return layout;
    const int count = header->count();
    for (int visual = 0; visual < count; ++visual) {
        const int logical = header->logicalIndex(visual);
        Column column;
        column.key = columnKey(model, logical);
        column.hidden = header->isSectionHidden(logical);
        // A hidden section reports no size; it keeps its own until shown again.
        column.width = column.hidden ? -1 : header->sectionSize(logical);
        layout.columns.append(column);
    }
    if (header->isSortIndicatorShown()) {
        const int section = header->sortIndicatorSection();
        if (section >= 0 && section < count) {
            layout.sortKey = columnKey(model, section);
            layout.sortOrder = header->sortIndicatorOrder();
        }
    }
    return layout;
}

HeaderLayout HeaderLayout::completed(const QAbstractItemModel* model) const
{
    const HeaderLayout all = defaults(model);
    HeaderLayout result;
    QSet<QString> taken;
    for (const Column& column : columns) {
        if (taken.contains(column.key) || all.indexOf(column.key) < 0)
            continue;
        taken.insert(column.key);
        result.columns.append(column);
    }
    for (const Column& column : all.columns) {
        if (!taken.contains(column.key))
            result.columns.append(column);
    }
    bool anyShown = false;
    for (const Column& column : qAsConst(result.columns))
        anyShown = anyShown || !column.hidden;
    if (!anyShown) {
        for (Column& column : result.columns)
            column.hidden = false;
    }
    if (all.indexOf(sortKey) >= 0) {
        result.sortKey = sortKey;
        result.sortOrder = sortOrder;
    }
    return result;
}

void HeaderLayout::applyTo(QHeaderView* header) const
{
    const QAbstractItemModel* model = header ? header->model() : nullptr;
    if (!model || header->count() == 0)
        return;
    const HeaderLayout layout = completed(model);
    for (int visual = 0; visual < layout.columns.size(); ++visual) {
        const Column& column = layout.columns.at(visual);
        const int logical = sectionOf(model, column.key);
        if (logical < 0)
            continue;
        const int from = header->visualIndex(logical);
        if (from != visual)
            header->moveSection(from, visual);
        if (column.width > 0)
            header->resizeSection(logical, column.width);
        header->setSectionHidden(logical, column.hidden);
    }
    if (!layout.sortKey.isEmpty())
        header->setSortIndicator(sectionOf(model, layout.sortKey), layout.sortOrder);
}

bool HeaderLayout::read(const Settings& settings)
{
    *this = HeaderLayout();
    settings.beginGroup(groupName);
    const QStringList keys = settings.value(columnsKey).toStringList();
    const QStringList hidden = settings.value(hiddenKey).toStringList();
    const QStringList widths = settings.value(widthsKey).toStringList();
    for (int i = 0; i < keys.size(); ++i) {
        Column column;
        column.key = keys.at(i).trimmed();
        if (column.key.isEmpty())
            continue;
        column.hidden = hidden.contains(column.key);
        bool ok = false;
        const int width = i < widths.size() ? widths.at(i).toInt(&ok) : -1;
        column.width = ok && width > 0 && width <= maxWidth ? width : -1;
        columns.append(column);
    }
    if (!columns.isEmpty()) {
        sortKey = settings.value(sortColumnKey).toString().trimmed();
        bool ok = false;
        const int order = settings.value(sortOrderKey).toInt(&ok);
        sortOrder = ok && order == Qt::DescendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    }
    settings.endGroup();
    return !columns.isEmpty();
}

void HeaderLayout::write(Settings& settings) const
{
    QStringList keys;
    QStringList hidden;
    QStringList widths;
    for (const Column& column : columns) {
        keys << column.key;
        widths << QString::number(column.width);
        if (column.hidden)
            hidden << column.key;
    }
    settings.beginGroup(groupName);
    settings.remove(QString());
    settings.setValue(columnsKey, keys);
    settings.setValue(hiddenKey, hidden);
    settings.setValue(widthsKey, widths);
    if (!sortKey.isEmpty()) {
        settings.setValue(sortColumnKey, sortKey);
        settings.setValue(sortOrderKey, int(sortOrder));
    }
    settings.endGroup();
}

bool HeaderLayout::isStored(const Settings& settings)
{
    settings.beginGroup(groupName);
    const bool stored = settings.contains(columnsKey);
    settings.endGroup();
    return stored;
}
