#include "ui/ui_log.h"

Q_LOGGING_CATEGORY(lcUi, "quillo.ui")
