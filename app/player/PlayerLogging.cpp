#include "PlayerLogging.h"

Q_LOGGING_CATEGORY(lcPlayer, "quenvo.player", QtInfoMsg)
