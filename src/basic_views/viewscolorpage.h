#pragma once

#include "basic_views_global.h"

#include "c_api/ioptionspage.h"

#include <QColor>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QTableWidget>

// The page of one view's colours in the options dialog, under "Colors": a table of the
// view's colours, normal and selected, each chosen in a colour dialog. Nothing is stored
// before apply().
class BASIC_VIEWS_EXPORT ViewsColorPage : public QObject, public IOptionsPage
{
    Q_OBJECT
    Q_INTERFACES(IOptionsPage)
public:
    explicit ViewsColorPage(int view, QObject* parent = nullptr);
    ~ViewsColorPage() override;

    int view() const { return m_view; }

    QString id() override;
    QString displayName() override;
    QString category() override;
    QString displayCategory() override;
    QIcon categoryIcon() override;
    bool matches(const QString& text) const override;
    void finish() override;
    QWidget* createPage(QWidget* parent) override;
    void apply() override;

    // The colour the page shows for a role and colour number, changed or not.
    QColor pendingColor(int role, int colour) const;
    void setPendingColor(int role, int colour, const QColor& value);
    void resetToDefaults();

private:
    void chooseColor(int row, int column);
    void updateCell(int role, int colour);

    int m_view;
    QMap<QPair<int, int>, QColor> m_pending; // (role, colour)
    QPointer<QTableWidget> m_table;
};
