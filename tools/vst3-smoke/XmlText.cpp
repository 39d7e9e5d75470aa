#include "XmlText.h"

#include <cstdlib>

std::string XmlText::escaped (const std::string& text)
{
    std::string result;

    for (const auto c : text)
    {
        switch (c)
        {
            case '&':  result += "&amp;"; break;
            case '<':  result += "&lt;"; break;
            case '>':  result += "&gt;"; break;
            case '"':  result += "&quot;"; break;
            case '\n': result += "&#10;"; break;
            default:   result += c; break;
        }
    }

    return result;
}

std::string XmlText::attribute (const std::string& xml, const std::string& name)
{
    const auto key = " " + name + "=\"";
    const auto start = xml.find (key);

    if (start == std::string::npos)
        return {};

    const auto valueStart = start + key.size();
    const auto end = xml.find ('"', valueStart);
    return end == std::string::npos ? std::string() : decoded (xml.substr (valueStart, end - valueStart));
}

std::string XmlText::decoded (const std::string& text)
{
    std::string result;

    for (size_t i = 0; i < text.size(); ++i)
    {
        const auto end = text[i] == '&' ? text.find (';', i) : std::string::npos;

        if (end == std::string::npos)
        {
            result += text[i];
            continue;
        }

        const auto entity = text.substr (i + 1, end - i - 1);

        if (entity == "amp")       result += '&';
        else if (entity == "lt")   result += '<';
        else if (entity == "gt")   result += '>';
        else if (entity == "quot") result += '"';
        else if (entity == "apos") result += '\'';
        else if (entity.size() > 2 && entity[0] == '#' && entity[1] == 'x')
            appendUtf8 (result, std::strtoul (entity.c_str() + 2, nullptr, 16));
        else if (entity.size() > 1 && entity[0] == '#')
            appendUtf8 (result, std::strtoul (entity.c_str() + 1, nullptr, 10));
        else
            result += text.substr (i, end - i + 1);

        i = end;
    }

    return result;
}

void XmlText::appendUtf8 (std::string& out, unsigned long codePoint)
{
    const auto byte = [&out] (unsigned long value) { out += static_cast<char> (value & 0xff); };

    if (codePoint < 0x80)
    {
        byte (codePoint);
    }
    else if (codePoint < 0x800)
    {
        byte (0xc0 | (codePoint >> 6));
        byte (0x80 | (codePoint & 0x3f));
    }
    else if (codePoint < 0x10000)
    {
        byte (0xe0 | (codePoint >> 12));
        byte (0x80 | ((codePoint >> 6) & 0x3f));
        byte (0x80 | (codePoint & 0x3f));
    }
    else
    {
        byte (0xf0 | (codePoint >> 18));
        byte (0x80 | ((codePoint >> 12) & 0x3f));
        byte (0x80 | ((codePoint >> 6) & 0x3f));
        byte (0x80 | (codePoint & 0x3f));
    }
}
