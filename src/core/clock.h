#pragma once

#include "core/timestamp.h"

// Where every reader of the time asks for "now", so tests can set and move it.
class Clock {
public:
    virtual ~Clock() = default;
    virtual Timestamp now() const = 0;
};
