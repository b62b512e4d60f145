#pragma once

#include "groupment.h"

// Groups the records of a table of securities by strike ("strike"): a group shows the
// strike without trailing zeros and has it as a decimal for its value.
class BASIC_VIEWS_EXPORT GroupmentStrike : public Groupment
{
public:
    explicit GroupmentStrike(Table* table);
    ~GroupmentStrike() override;

    QString groupKey(const Record& record) const override;
    QString groupName(const Record& record) const override;
    QVariant groupValue(const Record& record) const override;
};
