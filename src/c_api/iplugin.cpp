#include "iplugin.h"

IPlugin::~IPlugin() = default;

void IPlugin::pluginHookFirst() {}

void IPlugin::pluginHookSecond() {}
