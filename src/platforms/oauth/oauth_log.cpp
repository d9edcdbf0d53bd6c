#include "platforms/oauth/oauth_log.h"

Q_LOGGING_CATEGORY(lcOAuth, "quillo.oauth")
