#include "commands/commands_log.h"

Q_LOGGING_CATEGORY(lcCommands, "quillo.commands")
