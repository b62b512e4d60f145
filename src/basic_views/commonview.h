#pragma once

#include "basic_views_global.h"
#include "headerlayout.h"
#include "tablefastviewwithfilter.h"
#include "viewwrapper.h"

#include <QPointer>
#include <QToolBar>

class QAction;

// The table view that the terminal's windows are built of. What the user does to its
// columns (order, widths, which are shown, the sort) is saved by store() and
// storeTemplate() in the settings handed in and brought back by restore() and
// restoreTemplate(); the settings dialog edits the same through its pages. The context
// menu copies the selection, exports what the view shows, and shows or hides columns.
//
// A layout restored before the model has its columns waits for them. Settings that are
// missing or damaged leave the view as the model sets it up.
class BASIC_VIEWS_EXPORT CommonView : public TableFastViewWithFilter
{
    Q_OBJECT
public:
    explicit CommonView(QWidget* parent = nullptr);
    ~CommonView() override;

    void setModel(QAbstractItemModel* model) override;

    // The main page, and the page of the columns when a model is set.
    QList<IViewSettingsPage*> getSettingsPages(QObject* parent) override;
    void populateActionsAt(const QPoint& pos, QMenu* menu) override;
    void store(Settings& settings) const override;
    void storeTemplate(Settings& settings) override;
    void restoreTemplate(const Settings& first, const Settings& second) override;
    // The layout stored in first, or where first has none, in second.
    void restore(const Settings& first, const Settings& second) override;
    QSize defaultSize() override;
    QList<QToolBar*> toolBars() override;

    // A tool bar the host shows with the view. One without a parent stays the view's
    // until the host takes it.
    void addToolBar(QToolBar* toolBar);

    // The wrapper that exports the view; the view takes it and deletes the old one.
    void setViewWrapper(ViewWrapper* wrapper);
    ViewWrapper* viewWrapper() const { return m_wrapper; }

    HeaderLayout headerLayout() const;
    void setHeaderLayout(const HeaderLayout& layout);

    QAction* copyAction() const { return m_copyAction; }
    QAction* exportAction() const { return m_exportAction; }
    // The selected cells that are shown, rows by lines and columns by tabs, in the view's
    // order.
    QString selectionText() const;

public slots:
    void copy();
    void exportData();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    // The submenu that shows and hides columns.
    QMenu* createColumnsMenu(QWidget* parent);

private:
    void applyPendingLayout();

    QAction* m_copyAction;
    QAction* m_exportAction;
    QPointer<ViewWrapper> m_wrapper;
    QList<QPointer<QToolBar>> m_toolBars;
    HeaderLayout m_pendingLayout;
    QList<QMetaObject::Connection> m_modelConnections;
};
