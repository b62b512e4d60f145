#pragma once

#include "basic_views_global.h"

#include "c_api/iviewsettingspage.h"

#include <QLineEdit>
#include <QObject>
#include <QPointer>

// The general page of a view's settings dialog: the title the user gives the view, kept
// under the key "userTitle" of the settings the dialog hands in. An empty title means the
// view's own.
class BASIC_VIEWS_EXPORT MainViewSettingsPage : public QObject, public IViewSettingsPage
{
    Q_OBJECT
    Q_INTERFACES(IViewSettingsPage)
public:
    explicit MainViewSettingsPage(QObject* parent = nullptr);
    ~MainViewSettingsPage() override;

    static QString titleKey();

    QString id() override;
    QString displayName() override;
    QIcon categoryIcon() override;
    bool matches(const QString& text) const override;
    void finish() override;
    QWidget* createPage(const Settings& settings, QWidget* parent) override;
    void apply(Settings& settings) override;

    QLineEdit* titleEdit() const { return m_title; }

private:
    QPointer<QLineEdit> m_title;
};
