#pragma once

#include "core/quillo_error.h"

// Something the composer could not do with what it was given, said for the person at it.
class ComposeError : public QuilloError {
public:
    explicit ComposeError(QString message);
};
