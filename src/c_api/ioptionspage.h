#pragma once

// A page of the host's global options dialog. A plug-in implements it and hands it to
// ICore::addOptionsPage(), which takes ownership; the host calls createPage() when the
// page is first shown and apply() when the user accepts the dialog.

#include "ioptionspagebase.h"

#include <QtPlugin>

class QWidget;

class C_API_EXPORT IOptionsPage : public IOptionsPageBase
{
public:
    ~IOptionsPage() override;

    virtual QWidget* createPage(QWidget* parent) = 0;
    virtual void apply() = 0;
};

Q_DECLARE_INTERFACE(IOptionsPage, "com.ormel.velmar.Plugin.IOptionsPage/1.0")
