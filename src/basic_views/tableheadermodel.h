#pragma once

#include "basic_views_global.h"
#include "headerlayout.h"

#include <QAbstractListModel>
#include <QPointer>

class Settings;

// The columns of a table model as a list to edit in the view's settings: one row a column
// in the order the view shows them, checked when shown. It reads and writes the layout
// that CommonView stores, so a page of the settings dialog changes what the view restores.
// Widths and sort pass through unchanged. At least one column stays checked.
class BASIC_VIEWS_EXPORT TableHeaderModel : public QAbstractListModel
{
    Q_OBJECT
public:
    explicit TableHeaderModel(QAbstractItemModel* source, QObject* parent = nullptr);
    ~TableHeaderModel() override;

    QAbstractItemModel* sourceModel() const { return m_source; }

    // The layout stored in the settings' current group, or the defaults.
    void read(const Settings& settings);
    void write(Settings& settings) const;

    HeaderLayout layout() const;
    void setLayout(const HeaderLayout& layout);
    void resetToDefaults();
    void showAll();
    // The source column listed in a row; -1 when none.
    int section(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                  const QModelIndex& destinationParent, int destinationChild) override;

protected:
    // The text a column is listed by: its header title by default.
    virtual QString columnTitle(int section) const;

private:
    struct Entry
    {
        HeaderLayout::Column column;
        int section;
    };

    int shownCount() const;

    QPointer<QAbstractItemModel> m_source;
    QList<Entry> m_entries;
    QString m_sortKey;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
