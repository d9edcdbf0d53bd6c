#include "desktop/desktop_log.h"

Q_LOGGING_CATEGORY(lcDesktop, "quillo.desktop", QtInfoMsg)
