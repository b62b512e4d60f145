#pragma once

#include "optcalcsecuritymodel.h"

#include "database/datetime.h"

// Holds the security model's clock at one instant for the length of a walk, unless it is
// held already, so that the whole walk sees one "now" and reads the host's clock once.
class FrozenClock
{
public:
    explicit FrozenClock(OptCalcSecurityModel* model)
        : m_model(model && !model->useFixedNow() ? model : nullptr)
    {
        if (m_model) {
            m_model->setFrozenTime(datetime::now());
            m_model->setClockFrozen(true);
        }
    }
    ~FrozenClock()
    {
        if (m_model)
            m_model->setClockFrozen(false);
    }
    FrozenClock(const FrozenClock&) = delete;
    FrozenClock& operator=(const FrozenClock&) = delete;

private:
    OptCalcSecurityModel* m_model;
};
