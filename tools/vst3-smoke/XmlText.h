#pragma once

#include <string>

// Just enough XML for the state document: escaping a value for an attribute, and
// reading an attribute's value back as UTF-8. A writer may spell any character as a
// character reference (JUCE writes every non-ASCII letter as &#NNN;), so a value is
// compared only after it has been decoded.
class XmlText
{
public:
    static std::string escaped (const std::string& text);

    // The decoded value of the first attribute with that name; empty when absent.
    static std::string attribute (const std::string& xml, const std::string& name);

private:
    static std::string decoded (const std::string& text);
    static void appendUtf8 (std::string& out, unsigned long codePoint);
};
