#include "scheduling/scheduling_log.h"

Q_LOGGING_CATEGORY(lcScheduler, "quillo.scheduler")
