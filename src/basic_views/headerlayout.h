#pragma once

#include "basic_views_global.h"

#include <QList>
#include <QString>
#include <Qt>

class QAbstractItemModel;
class QHeaderView;
class Settings;

// The state of a view's horizontal header as the user left it: the columns in visual order,
// which are hidden, their widths and the sort. Columns are named by key rather than by
// number, so that a saved layout survives models that gain or lose columns.
//
// A model names its columns through headerData(section, Qt::Horizontal, ColumnNameRole),
// and marks columns that start hidden through DefaultHiddenRole; a model that does neither
// gets its column numbers as keys and all columns shown.
class BASIC_VIEWS_EXPORT HeaderLayout
{
public:
    enum HeaderRole { ColumnNameRole = Qt::UserRole + 0x200, DefaultHiddenRole };

    struct Column
    {
        QString key;
        bool hidden = false;
        int width = -1; // -1: the view's default
    };

    QList<Column> columns; // visual order
    QString sortKey;       // empty: no sort saved
    Qt::SortOrder sortOrder = Qt::AscendingOrder;

    bool isEmpty() const { return columns.isEmpty(); }
    int indexOf(const QString& key) const;

    static QString columnKey(const QAbstractItemModel* model, int section);
    // The section of the key, or -1.
    static int sectionOf(const QAbstractItemModel* model, const QString& key);

    // All columns of the model in its own order, hidden as the model says, no sort.
    static HeaderLayout defaults(const QAbstractItemModel* model);
    // What the header shows now.
    static HeaderLayout fromHeader(const QHeaderView* header);

    // The layout fitted to the model: every column of the model exactly once, the saved
    // ones in saved order, unknown keys dropped, new columns at the end with their defaults.
    // At least one column stays shown.
    HeaderLayout completed(const QAbstractItemModel* model) const;
    // Puts the completed layout on the header of a model. The sort goes to the sort
    // indicator, which a view with sorting enabled follows.
    void applyTo(QHeaderView* header) const;

    // In the subgroup "header" of the settings' current group. read() returns false, and
    // leaves the layout empty, when nothing usable is stored; values that make no sense
    // fall back to defaults one by one.
    bool read(const Settings& settings);
    void write(Settings& settings) const;
    static bool isStored(const Settings& settings);
};
