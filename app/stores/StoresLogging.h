#pragma once

#include <QLoggingCategory>

// Logging of the local stores: keychain outcomes and stored values kept aside. Never the contents.
Q_DECLARE_LOGGING_CATEGORY(lcStores)
