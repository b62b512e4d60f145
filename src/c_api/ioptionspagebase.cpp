#include "ioptionspagebase.h"

IOptionsPageBase::~IOptionsPageBase() = default;

bool IOptionsPageBase::matches(const QString&) const
{
    return false;
}
