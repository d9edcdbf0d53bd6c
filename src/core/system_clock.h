#pragma once

#include "core/clock.h"

// The wall clock of the machine.
class SystemClock : public Clock {
public:
    Timestamp now() const override;
};
