#include "iviewsettingspage.h"

IViewSettingsPage::~IViewSettingsPage() = default;

QString IViewSettingsPage::category()
{
    return id();
}

QString IViewSettingsPage::displayCategory()
{
    return displayName();
}
