#pragma once

// A plug-in implements IViewProvider when it brings kinds of views (windows, panels) of its
// own: the host asks it once, after IPlugin::initialize(), for one factory per kind and
// registers them in ICore::viewFactories(). The factories stay the plug-in's and must live
// as long as it is loaded.

#include "c_api_global.h"

#include <QList>
#include <QtPlugin>

class IViewFactory;

class C_API_EXPORT IViewProvider
{
public:
    virtual ~IViewProvider();

    virtual QList<IViewFactory*> viewFactories() = 0;
};

Q_DECLARE_INTERFACE(IViewProvider, "com.ormel.velmar.Plugin.IViewProvider/1.0")
