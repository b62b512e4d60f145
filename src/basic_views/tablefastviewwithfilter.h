#pragma once

#include "basic_views_global.h"
#include "tablefastview.h"

#include <QPointer>
#include <QToolBar>

class QLineEdit;
class QTimer;

// A fast table view with a text filter: only rows whose shown cells contain the text,
// ignoring case, stay visible. The filter hides rows of the view and leaves the model
// alone, so the model stays the one the caller set; while a filter is set, the view owns
// the hidden state of its rows.
//
// The filter box sits in a tool bar of its own, which toolBars() offers once the filter is
// enabled, so that the host puts it above the view with the others.
class BASIC_VIEWS_EXPORT TableFastViewWithFilter : public TableFastView
{
    Q_OBJECT
public:
    explicit TableFastViewWithFilter(QWidget* parent = nullptr);
    ~TableFastViewWithFilter() override;

    void setModel(QAbstractItemModel* model) override;

    QString filterText() const { return m_filter; }
    void setFilterEnabled(bool enabled);
    bool isFilterEnabled() const { return m_filterEnabled; }
    QLineEdit* filterEdit();
    QToolBar* filterToolBar();

    QList<QToolBar*> toolBars() override;

public slots:
    void setFilterText(const QString& text);
    // Hides and shows rows for the present filter and model.
    void applyFilter();

private:
    bool rowMatches(int row) const;
    void scheduleFilter();

    QString m_filter;
    bool m_filterEnabled = false;
    QPointer<QToolBar> m_toolBar; // unparented until the host takes it
    QLineEdit* m_edit = nullptr;
    QTimer* m_refilter;
    QList<QMetaObject::Connection> m_modelConnections;
};
