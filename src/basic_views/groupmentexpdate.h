#pragma once

#include "groupment.h"

// Groups the records of a table of securities by the day of their expiry ("expdate"): a
// group shows the date as dd.MM.yyyy and has the day's datetime for its value.
class BASIC_VIEWS_EXPORT GroupmentExpDate : public Groupment
{
public:
    explicit GroupmentExpDate(Table* table);
    ~GroupmentExpDate() override;

    QString groupKey(const Record& record) const override;
    QString groupName(const Record& record) const override;
    QVariant groupValue(const Record& record) const override;
};
