#include "hostviewfactories.h"

#include "postponedordersfactory.h"

std::vector<std::unique_ptr<IViewFactory>> createHostViewFactories()
{
    std::vector<std::unique_ptr<IViewFactory>> factories;
    factories.push_back(std::make_unique<PostponedOrdersFactory>());
    // The market view's factory goes here.
    return factories;
}
