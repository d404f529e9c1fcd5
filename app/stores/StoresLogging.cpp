#include "StoresLogging.h"

Q_LOGGING_CATEGORY(lcStores, "quenvo.stores")
