#pragma once

// The common part of the pages of the host's dialogs: the global options (IOptionsPage,
// handed to ICore::addOptionsPage()) and the settings of one view (IViewSettingsPage, given
// by IView::getSettingsPages()). A plug-in implements one of the two; the host lists the
// pages by category, searches them with matches(), shows the widget that createPage()
// returns, and calls finish() when the dialog closes. The dialog owns that widget, unless
// the page destroys it in finish().

#include "c_api_global.h"

#include <QIcon>
#include <QString>

class C_API_EXPORT IOptionsPageBase
{
public:
    virtual ~IOptionsPageBase();

    virtual QString id() = 0;
    virtual QString displayName() = 0;
    virtual QString category() = 0;
    virtual QString displayCategory() = 0;
    virtual QIcon categoryIcon() = 0;
    // Whether the page holds the text the user searches for.
    virtual bool matches(const QString& text) const;
    // The dialog closes; the page forgets its widget.
    virtual void finish() = 0;
};
