#include "app/app_log.h"

Q_LOGGING_CATEGORY(lcApp, "quillo.app")
