#pragma once

#include "basic_views/commonview.h"

#include <QByteArray>
#include <QList>
#include <QPointer>
#include <QToolBar>

class AccountSelectorBox;
class FrozenRowView;
class PortfolioModel;
class PortfolioTotalModel;
class QAction;
class QMimeData;
class QUndoStack;
class VirtualPortfolioModel;

// The table of a portfolio with its tool bar. Over the model portfolio it edits the rows
// (instrument cells by lists of existing securities), takes positions dropped on it, and
// shows the totals of the Greeks in a fixed last row; over the real portfolio it offers the
// account and hands its positions on. The commands of its actions are the calculator
// widget's slots, reached by name, so that the view also works without one.
class PortfolioTableView : public CommonView
{
    Q_OBJECT
public:
    // calcWidget: the calculator widget whose slots the actions call; may be null.
    explicit PortfolioTableView(QObject* calcWidget = nullptr, QWidget* parent = nullptr);
    ~PortfolioTableView() override;

    // Builds the actions, editors and totals for the model: a PortfolioModel or a
    // VirtualPortfolioModel.
    void setModel(QAbstractItemModel* model) override;
    void populateActionsAt(const QPoint& pos, QMenu* menu) override;
    QSize minimumSizeHint() const override;

    QObject* calcWidget() const { return m_calcWidget.data(); }
    QToolBar* toolBar() const { return m_toolBar.data(); }
    // The action of a command id ("OC.clear", ...); null when the model has none.
    QAction* action(const QByteArray& id) const;
    QList<QAction*> modelActions() const { return m_actions; }
    AccountSelectorBox* accountSelector() const;
    FrozenRowView* totalRow() const { return m_totalRow; }
    PortfolioTotalModel* totalModel() const { return m_totalModel; }

    // Binds the undo and redo actions to the stack of the model portfolio's edits.
    void setUndoStack(QUndoStack* stack);

public slots:
    // Enables the actions that need rows or a selection.
    void onSelectionChanged();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void clearModelParts();
    void buildActions(bool modelPortfolio);
    QAction* addModelAction(const QByteArray& id, const QString& icon, const QString& text,
                            const char* slot, bool onToolBar);
    void buildAccountSelector();
    void setUpModelPortfolio(VirtualPortfolioModel* model);
    void setUpCellEditors(VirtualPortfolioModel* model);
    void addDroppedPositions(VirtualPortfolioModel* model, const QMimeData* mime);

    QPointer<QObject> m_calcWidget;
    // The host takes the tool bar over and may destroy it first.
    QPointer<QToolBar> m_toolBar;
    QList<QAction*> m_actions;
    // What the tool bar holds beside the actions.
    QList<QPointer<QAction>> m_toolBarParts;
    QPointer<QUndoStack> m_undoStack;
    QList<QMetaObject::Connection> m_undoConnections;
    QList<QMetaObject::Connection> m_modelConnections;
    QList<int> m_editedColumns;
    QPointer<QAbstractItemDelegate> m_rowDelegate;
    QPointer<AccountSelectorBox> m_accountSelector;
    FrozenRowView* m_totalRow = nullptr;
    PortfolioTotalModel* m_totalModel = nullptr;
};
