#include "store/store_log.h"

Q_LOGGING_CATEGORY(lcStore, "quillo.store")
