#pragma once

/// The command "check": whether the autoresponder finds all that it needs on this machine. Prints a
/// line for each thing that it looks at: that it is good, or what to do. Returns whether all of
/// them are good.
bool check_installation();
