#include "compose/compose_log.h"

Q_LOGGING_CATEGORY(lcCompose, "quillo.compose")
