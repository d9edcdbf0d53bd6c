#include "store/store_log.h"

// Debug lines (one block per stored entry on load) are off unless asked for with
// QT_LOGGING_RULES="quillo.store.debug=true": a large schedule would flood the log.
Q_LOGGING_CATEGORY(lcStore, "quillo.store", QtInfoMsg)
