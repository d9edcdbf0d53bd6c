#include "platforms/bluesky/blue_sky_log.h"

Q_LOGGING_CATEGORY(lcBlueSky, "quillo.bluesky")
