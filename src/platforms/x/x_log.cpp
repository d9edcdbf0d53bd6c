#include "platforms/x/x_log.h"

Q_LOGGING_CATEGORY(lcX, "quillo.x")
