// What tests do to the desktop they run in.
#pragma once

#include <memory>

#include "platform/linux/X11Connection.h"

namespace pell::testing {

std::unique_ptr<X11Connection> openDisplay();

/// The active window, as the window manager tells it; 0 if there is none.
unsigned long activeWindow(X11Connection& connection);

/// The process of the active window, as the window manager tells it; 0 if there is none.
int activeProcess(X11Connection& connection);

/// Switches the desktop's accessibility on or off.
void setAccessibilityEnabled(bool enabled);

}  // namespace pell::testing
