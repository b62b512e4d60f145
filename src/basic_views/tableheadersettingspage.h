#pragma once

#include "basic_views_global.h"
#include "tableheadermodel.h"
#include "tableheadersettingsform.h"

#include "c_api/iviewsettingspage.h"

#include <QObject>
#include <QPointer>

// The page "Столбцы" of a table view's settings dialog: which columns the view shows, and
// in which order. It reads the layout from the settings the dialog hands in and writes it
// back on apply. The dialog owns the form.
class BASIC_VIEWS_EXPORT TableHeaderSettingsPage : public QObject, public IViewSettingsPage
{
    Q_OBJECT
    Q_INTERFACES(IViewSettingsPage)
public:
    // Takes the model as a child unless it has a parent already.
    explicit TableHeaderSettingsPage(TableHeaderModel* model, QObject* parent = nullptr);
    ~TableHeaderSettingsPage() override;

    TableHeaderModel* model() const { return m_model; }
    TableHeaderSettingsForm* form() const { return m_form; }

    QString id() override;
    QString displayName() override;
    QIcon categoryIcon() override;
    // The page's name and the titles of the columns are searched.
    bool matches(const QString& text) const override;
    void finish() override;
    QWidget* createPage(const Settings& settings, QWidget* parent) override;
    void apply(Settings& settings) override;

private:
    QPointer<TableHeaderModel> m_model;
    QPointer<TableHeaderSettingsForm> m_form;
};
