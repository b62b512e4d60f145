#pragma once

// A plug-in implements IPlugin on its root object (the one its plug-in metadata names), and
// usually IViewProvider beside it. The host loads the library, asks for the names, calls
// initialize() once with the core, then takes the view factories. Everything the host
// offers a plug-in is reached through that ICore.
//
// The order of the virtual operations is the binary contract with plug-ins already built:
// new operations go at the end, never in between.

#include "c_api_global.h"

#include <QString>
#include <QtPlugin>

class ICore;

class C_API_EXPORT IPlugin
{
public:
    virtual ~IPlugin();

    // The plug-in's key, unique among the loaded plug-ins; points to static text.
    virtual QLatin1String pluginName() = 0;
    virtual QString displayName() = 0;
    virtual QString vendor() = 0;
    virtual QString version() = 0;
    virtual QString description() = 0;
    // Called once after loading. The host does not act on the result.
    virtual bool initialize(ICore* core) = 0;
    // Called when every plug-in has been initialized.
    virtual void pluginHookFirst();
    // Called before the host unloads the plug-ins, while the core is still whole.
    virtual void pluginHookSecond();
};

Q_DECLARE_INTERFACE(IPlugin, "com.ormel.velmar.Plugin.IPlugin/1.0")
