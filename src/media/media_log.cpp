#include "media/media_log.h"

Q_LOGGING_CATEGORY(lcMedia, "quillo.media")
