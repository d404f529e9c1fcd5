#pragma once

#include <QLoggingCategory>

// Logging of the libVLC glue: player creation, media changes (host and path shape only: stream
// addresses may carry account credentials) and video format changes.
Q_DECLARE_LOGGING_CATEGORY(lcPlayer)
