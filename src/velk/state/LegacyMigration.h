#pragma once

// Carries the preferences and the data folder of the product's earlier name, Quarn, over to Velk.
// Runs at every start before anything reads the preferences, and does nothing once it has run.
namespace LegacyMigration {

// Reports nothing and never fails: whatever cannot be carried over is left where it is.
void run();

} // namespace LegacyMigration
