#pragma once

#include <QLoggingCategory>

// Desktop integration: single instance, media keys (MPRIS), screen saver, window state.
Q_DECLARE_LOGGING_CATEGORY(lcDesktop)
