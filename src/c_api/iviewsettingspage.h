#pragma once

// A page of the settings dialog of one view. A view makes its pages in
// IView::getSettingsPages(); the host shows them, each filled from the view's settings by
// createPage(), writes them back by apply() and hands the result to the view. Such a page
// is its own category: category() is id() and displayCategory() is displayName() unless a
// page says otherwise.

#include "ioptionspagebase.h"

#include <QtPlugin>

class QWidget;
class Settings;

class C_API_EXPORT IViewSettingsPage : public IOptionsPageBase
{
public:
    ~IViewSettingsPage() override;

    QString category() override;
    QString displayCategory() override;

    virtual QWidget* createPage(const Settings& settings, QWidget* parent) = 0;
    virtual void apply(Settings& settings) = 0;
};

Q_DECLARE_INTERFACE(IViewSettingsPage, "com.ormel.velmar.Plugin.IViewSettingsPage/1.0")
