#include "channel/channel_log.h"

Q_LOGGING_CATEGORY(lcChannel, "quillo.channel")
