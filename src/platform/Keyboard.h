#pragma once

#include <Qt>

#include <functional>

// The keyboard modifiers held right now, without a GUI module here: the application installs a
// provider that asks the window system; until then no key counts as held.
namespace Keyboard {

using Provider = std::function<Qt::KeyboardModifiers()>;

void setProvider(Provider provider);
Qt::KeyboardModifiers modifiers();

// Held while clicking, it adds a file to the marks or takes it out.
inline constexpr Qt::KeyboardModifier toggleModifier = Qt::ControlModifier;

} // namespace Keyboard
