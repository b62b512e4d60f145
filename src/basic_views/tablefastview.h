#pragma once

#include "basic_views_global.h"
#include "qtablefastview.h"

#include "c_api/iview.h"

#include <QPointer>

// A fast table view that the terminal can host: the plain IView of a table. It saves
// nothing and offers no pages or actions of its own; CommonView adds those.
//
// QWidget::window() is hidden by IView::window() here: call it by its full name.
class BASIC_VIEWS_EXPORT TableFastView : public QTableFastView, public IView
{
    Q_OBJECT
    Q_INTERFACES(IView)
public:
    explicit TableFastView(QWidget* parent = nullptr);
    ~TableFastView() override;

    ICore* core() const { return m_core; }

    void initCore(ICore* core) override;
    QList<IViewSettingsPage*> getSettingsPages(QObject* parent) override;
    void populateActionsAt(const QPoint& pos, QMenu* menu) override;
    void store(Settings& settings) const override;
    void restore(const Settings& first, const Settings& second) override;
    QSize defaultSize() override;
    IWindow* window() override;

private:
    ICore* m_core = nullptr;
};
