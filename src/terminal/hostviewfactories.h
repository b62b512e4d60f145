#pragma once

#include <QList>

#include <memory>
#include <vector>

class IViewFactory;

// The factories of the views the terminal brings itself, registered in
// ICore::viewFactories() beside those of the plug-ins: "PostponedOrders" so far; the market
// view (the securities of one base code) joins here once its table model is available.
std::vector<std::unique_ptr<IViewFactory>> createHostViewFactories();
