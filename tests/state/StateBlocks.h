#pragma once

#include "processor/AudioProcessorVantrel.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

/** Helpers for the saved-state tests. The block layout is built here byte by byte,
    not with JUCE's writer, so that the tests check the layout rather than assume it. */
namespace StateBlocks
{
using Bytes = std::vector<uint8_t>;

inline void appendLittleEndian (Bytes& bytes, uint32_t word)
{
    for (auto i = 0; i < 4; ++i)
        bytes.push_back ((uint8_t) (word >> (8 * i)));
}

/** "VC2!", the length word, the UTF-8 text and a zero byte. */
inline Bytes wrap (const std::string& utf8Text)
{
    Bytes bytes { 'V', 'C', '2', '!' };
    appendLittleEndian (bytes, (uint32_t) utf8Text.size());
    bytes.insert (bytes.end(), utf8Text.begin(), utf8Text.end());
    bytes.push_back (0);
    return bytes;
}

/** A document with the writer's default header and the given element. */
inline Bytes wrapDocument (const std::string& element)
{
    return wrap ("<?xml version=\"1.0\" encoding=\"UTF-8\"?> " + element);
}

inline Bytes toBytes (const juce::MemoryBlock& block)
{
    const auto* begin = static_cast<const uint8_t*> (block.getData());
    return Bytes (begin, begin + block.getSize());
}

inline Bytes save (juce::AudioProcessor& processor)
{
    juce::MemoryBlock block;
    processor.getStateInformation (block);
    return toBytes (block);
}

/** The text part of a block (between the length word and the final zero). */
inline std::string textOf (const Bytes& block)
{
    return block.size() < 9 ? std::string() : std::string (block.begin() + 8, block.end() - 1);
}

/** Attribute names and values of a saved block, in document order. */
inline std::vector<std::pair<juce::String, juce::String>> attributesOf (const Bytes& block)
{
    std::vector<std::pair<juce::String, juce::String>> attributes;

    if (auto xml = juce::parseXML (juce::String::fromUTF8 (textOf (block).c_str())))
        for (auto i = 0; i < xml->getNumAttributes(); ++i)
            attributes.emplace_back (xml->getAttributeName (i), xml->getAttributeValue (i));

    return attributes;
}

/** Two saves hold the same attributes in the same order with the same values, the
    save time aside. */
inline void expectSameAttributesApartFromDate (const Bytes& firstBlock, const Bytes& secondBlock)
{
    const auto first = attributesOf (firstBlock);
    const auto second = attributesOf (secondBlock);
    ASSERT_EQ (first.size(), second.size());

    for (size_t i = 0; i < first.size(); ++i)
    {
        EXPECT_EQ (first[i].first, second[i].first);

        if (first[i].first != "date_modified")
        {
            EXPECT_EQ (first[i].second, second[i].second) << first[i].first;
        }
    }
}

/** Sets the three restore flags to the opposite of what a restore leaves, restores,
    and checks that the restore set all three. */
inline void restoreAndCheckFlags (juce::AudioProcessorVantrel& processor, const void* data, int size)
{
    processor.controlsNeedUpdate.store (false);
    processor.sampleCounter.store (4321);
    processor.stateChanged.store (false);

    processor.setStateInformation (data, size);

    EXPECT_TRUE (processor.controlsNeedUpdate.load());
    EXPECT_EQ (processor.sampleCounter.load(), 0);
    EXPECT_TRUE (processor.stateChanged.load());
}

inline void restoreAndCheckFlags (juce::AudioProcessorVantrel& processor, const Bytes& block)
{
    restoreAndCheckFlags (processor, block.data(), (int) block.size());
}
} // namespace StateBlocks
