#pragma once

#include "c_api/iview.h"

#include <QMainWindow>
#include <QString>

class Action;
class IViewFactory;
class OptCalcDockWidget;
class QAction;

// One calculator window for one base code, hosted by the terminal as a view. A window made
// without a base code is an empty shell, showing only its tool bar, until restore() or
// restoreTemplate() tells it the code; it is then built, once and for good. A shell leaves
// nothing in a saved workspace.
//
// The window is a frame: the calculator's panels live in its docks, and each user action is
// handed on to the calculator.
class OptCalcWindow : public QMainWindow, public IView
{
    Q_OBJECT
    Q_INTERFACES(IView)

public:
    OptCalcWindow(const QString& baseCode, QWidget* parent = nullptr);
    ~OptCalcWindow() override;

    // IView
    void initCore(ICore* core) override;
    QList<IViewSettingsPage*> getSettingsPages(QObject* parent) override;
    void populateActionsAt(const QPoint& pos, QMenu* menu) override;
    void store(Settings& settings) const override;
    void storeTemplate(Settings& settings) override;
    void restoreTemplate(const Settings& first, const Settings& second) override;
    void restore(const Settings& first, const Settings& second) override;
    void apply() override;
    QSize defaultSize() override;

    // The title: the text the user gave, or else the base code, then the kind of window.
    void setUserTitle(const QString& text);
    // Opens the group of settings kept for this window's base code. Two names of the group
    // are in use in saved settings; a new group takes the first.
    void beginSettingsGroup(Settings& settings);

public slots:
    void onPlotViewEnabled(bool enable);
    void onVirtualPortfolioViewEnabled(bool enable);
    void onRealPortfolioViewEnabled(bool enable);
    void setAccount(const QString& account);

protected:
    void showEvent(QShowEvent* event) override;

private:
    static IViewFactory* factory();
    void buildWindow();
    void writeFlags(Settings& settings) const;
    void readViewFlags(const Settings& settings);
    void readActionStates(const Settings& settings);

    Action* exportAction = nullptr;
    Action* saveCurrentPlotAction = nullptr;
    QAction* plotViewAction = nullptr;
    QAction* virtualPortfolioViewAction = nullptr;
    QAction* realPortfolioViewAction = nullptr;
    Action* partialCurvesAction = nullptr;
    Action* summaryCurvesAction = nullptr;
    Action* convertXAxisAction = nullptr;
    Action* gridAction = nullptr;
    Action* autoScaleAction = nullptr;
    QString account;
    QString baseCode;
    OptCalcDockWidget* virtualPortfolioDock = nullptr;
    OptCalcDockWidget* realPortfolioDock = nullptr;
    OptCalcDockWidget* plotDock = nullptr;
    // Set when the window is built; a shell has it clear.
    bool built = false;
};
