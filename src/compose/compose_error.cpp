#include "compose/compose_error.h"

ComposeError::ComposeError(QString message)
    : QuilloError(std::move(message))
{
}
