#include "platforms/mastodon/mastodon_log.h"

Q_LOGGING_CATEGORY(lcMastodon, "quillo.mastodon")
