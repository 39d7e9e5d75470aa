#pragma once

#include <juce_core/juce_core.h>

/** Reads the decimal numbers of a saved settings document.

    It reads what juce::String::getDoubleValue reads, to the same value: leading white
    space, a sign, "nan" and "inf", at most 18 significant digits, an exponent, and
    anything after the number ignored; text that is no number reads as 0. JUCE gathers
    the exponent's digits in an int, which overflows (undefined behaviour) on a long
    exponent such as a damaged or hostile project can hold; here every exponent has a
    defined result: past the range of a double the number reads as infinity or 0, as
    JUCE reads the exponents it can hold. JUCE also reads a run of more than about a
    thousand digits without an exponent as its first 18 digits; here it is infinity.
*/
class NumberText
{
public:
    static double toDouble (const juce::String& text) noexcept;
};
