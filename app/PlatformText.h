#pragma once

#include <QString>

// The few texts that name the platform or its keys. On macOS they read as the product was first
// written ("Apple Silicon", ⌘); elsewhere they name the running system and its Ctrl key.
namespace PlatformText {
// "0.1.0 · Apple Silicon" on Apple Silicon Macs, "0.1.0 · Linux x86_64" here.
QString versionLine();
// The platform as the version line names it.
QString platformName();
// The text of the command modifier in keyboard hints: "⌘" on macOS, "Ctrl+" elsewhere.
QString commandKey();
} // namespace PlatformText
