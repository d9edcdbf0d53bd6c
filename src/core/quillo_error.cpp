#include "core/quillo_error.h"

QuilloError::QuilloError(QString message, QString logText)
    : m_message(std::move(message))
    , m_what((logText.isEmpty() ? m_message : logText).toUtf8())
{
}
