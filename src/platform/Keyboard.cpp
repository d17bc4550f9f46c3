#include "Keyboard.h"

namespace {

Keyboard::Provider &installed()
{
    static Keyboard::Provider provider;
    return provider;
}

} // namespace

void Keyboard::setProvider(Provider provider)
{
    installed() = std::move(provider);
}

Qt::KeyboardModifiers Keyboard::modifiers()
{
    const Provider &provider = installed();
    return provider ? provider() : Qt::NoModifier;
}
