#pragma once

#include <QString>

#include <exception>

// The one translation of any failure into the Catalan text a person reads: an IPTVError's own
// message, a fixed sentence per kind of transport failure, and one general sentence for everything
// else (malformed JSON, a cancelled task, anything unforeseen). The application shows failures
// only through it (LibraryModel::safeError is its face for the views and models).
namespace FailureText {

QString of(const std::exception_ptr &error);

} // namespace FailureText
