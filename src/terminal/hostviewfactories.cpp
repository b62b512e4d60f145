#include "hostviewfactories.h"

#include "marketviewfactory.h"
#include "postponedordersfactory.h"

std::vector<std::unique_ptr<IViewFactory>> createHostViewFactories()
{
    std::vector<std::unique_ptr<IViewFactory>> factories;
    factories.push_back(std::make_unique<PostponedOrdersFactory>());
    factories.push_back(std::make_unique<MarketViewFactory>());
    return factories;
}
