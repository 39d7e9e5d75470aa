#include "editor/ValueChangeListener.h"

void ValueChangeListener::parameterValueChanged (int, float)
{
    changed.store (true, std::memory_order_relaxed);
}

void ValueChangeListener::parameterGestureChanged (int, bool) {}

bool ValueChangeListener::hasChanged() const noexcept
{
    return changed.load (std::memory_order_relaxed);
}
