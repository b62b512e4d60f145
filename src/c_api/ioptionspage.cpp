#include "ioptionspage.h"

IOptionsPage::~IOptionsPage() = default;
