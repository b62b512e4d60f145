#include "iviewprovider.h"

IViewProvider::~IViewProvider() = default;
