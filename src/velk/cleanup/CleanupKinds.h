#pragma once

#include "models/Destinations.h"
#include "models/Theme.h"

#include <QString>

// How each kind of clean-up suggestion looks and explains itself.
namespace CleanupKinds {

QString symbol(CleanupKind kind);
// An entry of the shared pastels.
Rgb tint(CleanupKind kind);
// Shown at the head of the kind's review list.
QString explanation(CleanupKind kind);

} // namespace CleanupKinds
