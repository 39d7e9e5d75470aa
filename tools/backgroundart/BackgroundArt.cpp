// Draws the editor's background picture and writes it as a baseline JPEG.
//
//   sampivo-background-art <output.jpg>
//
// The editor squeezes the 505 x 400 picture to its 375 x 400 panel, so everything is
// drawn in panel coordinates through a horizontal stretch: once squeezed, circles are
// round and lettering has its proper width. The output depends only on this file and
// the fonts installed, so running it again gives the committed picture.

#include <juce_graphics/juce_graphics.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <cmath>
#include <iostream>

namespace
{
constexpr int pictureWidth = 505;
constexpr int pictureHeight = 400;
constexpr float panelWidth = 375.0f;
constexpr float panelHeight = 400.0f;

// Knob positions as the editor lays them out (top-left corners of 75 x 75 knobs), the
// knob face's centre within them, and the slider's default sweep.
const juce::Point<int> knobCorners[] = {
    { 0, 31 },  { 75, 31 },  { 150, 31 }, { 225, 31 }, { 300, 31 },
    { 0, 131 }, { 75, 131 }, { 150, 131 }, { 225, 131 }, { 300, 131 },
    { 0, 231 }, { 150, 231 }, { 300, 231 },
};
const juce::Point<int> curveKnobCorner { 150, 231 };
constexpr float knobCentreX = 37.5f;
constexpr float knobCentreY = 33.5f;
constexpr float sweepStart = juce::MathConstants<float>::pi * 1.2f;
constexpr float sweepEnd = juce::MathConstants<float>::pi * 2.8f;

const juce::Colour amber (0xffd9a441);
const juce::Colour engraving (0xff8a8f98);

juce::Font faceOfHeight (float height, bool bold)
{
    const juce::String preferred ("DejaVu Sans");
    const auto installed = juce::Font::findAllTypefaceNames().contains (preferred);
    juce::Font font (installed ? preferred : juce::Font::getDefaultSansSerifFontName(), height,
                     bold ? juce::Font::bold : juce::Font::plain);
    return font;
}

void drawPanelBase (juce::Graphics& g)
{
    g.setGradientFill (juce::ColourGradient (juce::Colour (0xff34373c), 0.0f, 0.0f,
                                             juce::Colour (0xff1f2124), 0.0f, panelHeight, false));
    g.fillRect (0.0f, 0.0f, panelWidth, panelHeight);
}

void drawHeader (juce::Graphics& g)
{
    const juce::Rectangle<float> band (0.0f, 0.0f, panelWidth, 21.0f);
    g.setGradientFill (juce::ColourGradient (juce::Colour (0xff17181b), 0.0f, 0.0f,
                                             juce::Colour (0xff232529), 0.0f, band.getBottom(), false));
    g.fillRect (band);
    g.setColour (amber.withAlpha (0.85f));
    g.fillRect (0.0f, band.getBottom(), panelWidth, 1.0f);

    const auto brandFont = faceOfHeight (13.0f, true).withExtraKerningFactor (0.18f);
    const auto brandWidth = brandFont.getStringWidthFloat ("VANTREL");
    g.setFont (brandFont);
    g.setColour (amber);
    g.drawText ("VANTREL", juce::Rectangle<float> (9.0f, 2.0f, brandWidth + 4.0f, 18.0f), juce::Justification::centredLeft);

    g.setFont (faceOfHeight (13.0f, false).withExtraKerningFactor (0.18f));
    g.setColour (juce::Colour (0xffd8dadf));
    g.drawText ("SAMPIVO", juce::Rectangle<float> (9.0f + brandWidth + 7.0f, 2.0f, 100.0f, 18.0f),
                juce::Justification::centredLeft);

    g.setFont (faceOfHeight (9.5f, false).withExtraKerningFactor (0.12f));
    g.setColour (engraving);
    g.drawText ("SAMPLE PLAYER", juce::Rectangle<float> (220.0f, 2.0f, 146.0f, 18.0f), juce::Justification::centredRight);
}

// A slightly lighter plate behind each row of knobs, with a lit top edge.
void drawRowPlate (juce::Graphics& g, juce::Rectangle<float> area)
{
    g.setColour (juce::Colour (0x22ffffff));
    g.fillRoundedRectangle (area, 5.0f);
    g.setColour (juce::Colour (0x30000000));
    g.drawRoundedRectangle (area.translated (0.0f, 1.0f), 5.0f, 1.0f);
    g.setColour (juce::Colour (0x1cffffff));
    g.drawRoundedRectangle (area, 5.0f, 1.0f);
}

void drawKnobSeat (juce::Graphics& g, juce::Point<float> centre, int numMarks)
{
    // A dark recess that the knob sits in.
    g.setGradientFill (juce::ColourGradient (juce::Colour (0xff0d0e10), centre.x, centre.y,
                                             juce::Colour (0x000d0e10), centre.x, centre.y + 29.0f, true));
    g.fillEllipse (juce::Rectangle<float> (58.0f, 58.0f).withCentre (centre));

    // A printed scale around it: every tenth of the travel, or one mark a stop.
    for (auto i = 0; i < numMarks; ++i)
    {
        const auto position = (float) i / (float) (numMarks - 1);
        const auto angle = sweepStart + position * (sweepEnd - sweepStart);
        const auto major = i == 0 || i == numMarks - 1 || (numMarks == 11 && i == 5) || numMarks < 11;
        const auto inner = major ? 24.5f : 25.5f;
        const auto outer = 28.0f;
        const juce::Point<float> direction (std::sin (angle), -std::cos (angle));

        g.setColour (major ? juce::Colour (0xffb8bcc4) : juce::Colour (0xff747a84));
        g.drawLine (juce::Line<float> (centre + direction * inner, centre + direction * outer), major ? 1.4f : 1.0f);
    }
}

// A small dark window behind each knob's value text.
void drawValueWindow (juce::Graphics& g, juce::Point<int> corner)
{
    const auto area = juce::Rectangle<float> ((float) corner.x + 9.0f, (float) corner.y + 58.0f, 57.0f, 15.0f);
    g.setColour (juce::Colour (0xff121315));
    g.fillRoundedRectangle (area, 3.0f);
    g.setColour (juce::Colour (0x18ffffff));
    g.drawLine (area.getX() + 2.0f, area.getBottom() + 0.5f, area.getRight() - 2.0f, area.getBottom() + 0.5f, 1.0f);
}

// Screws in the empty places of the bottom row, as on a hardware front plate.
void drawScrew (juce::Graphics& g, juce::Point<float> centre)
{
    g.setGradientFill (juce::ColourGradient (juce::Colour (0xff9a9ea6), centre.x - 3.0f, centre.y - 3.0f,
                                             juce::Colour (0xff3a3d42), centre.x + 3.0f, centre.y + 4.0f, false));
    g.fillEllipse (juce::Rectangle<float> (9.0f, 9.0f).withCentre (centre));
    g.setColour (juce::Colour (0xff202226));
    g.drawLine (juce::Line<float> (centre.translated (-3.0f, 1.5f), centre.translated (3.0f, -1.5f)), 1.2f);
}

// The status strip's window: a recessed dark display that the file list is written on.
void drawDisplay (juce::Graphics& g)
{
    const juce::Rectangle<float> display (7.0f, 309.0f, panelWidth - 14.0f, 84.0f);

    g.setColour (juce::Colour (0x40ffffff));
    g.drawRoundedRectangle (display.expanded (1.0f).translated (0.0f, 1.0f), 6.0f, 1.0f);
    g.setColour (juce::Colour (0xff0b0c0d));
    g.fillRoundedRectangle (display, 5.0f);

    // Faint grid lines, as on a scope face.
    g.setColour (juce::Colour (0x0effffff));
    for (auto x = display.getX() + 24.0f; x < display.getRight(); x += 24.0f)
        g.drawVerticalLine ((int) x, display.getY() + 3.0f, display.getBottom() - 3.0f);
    for (auto y = display.getY() + 21.0f; y < display.getBottom() - 2.0f; y += 21.0f)
        g.drawHorizontalLine ((int) y, display.getX() + 3.0f, display.getRight() - 3.0f);

    // Inner shadow along the top edge.
    g.setGradientFill (juce::ColourGradient (juce::Colour (0x90000000), 0.0f, display.getY(),
                                             juce::Colour (0x00000000), 0.0f, display.getY() + 8.0f, false));
    g.fillRoundedRectangle (display.withHeight (8.0f), 5.0f);
}

// A fine brushed grain: each row a little lighter or darker, and a little per-pixel
// noise, from a fixed seed.
void addGrain (juce::Image& image)
{
    juce::Random random (0x5a3b1e);
    juce::Image::BitmapData pixels (image, juce::Image::BitmapData::readWrite);

    for (auto y = 0; y < image.getHeight(); ++y)
    {
        const auto rowShift = (random.nextFloat() - 0.5f) * 0.035f;

        for (auto x = 0; x < image.getWidth(); ++x)
        {
            const auto colour = pixels.getPixelColour (x, y);
            const auto shift = rowShift + (random.nextFloat() - 0.5f) * 0.03f;
            const auto brightness = juce::jlimit (0.0f, 1.0f, colour.getBrightness() + shift * 0.35f);
            pixels.setPixelColour (x, y, colour.withBrightness (brightness));
        }
    }
}

juce::Image drawBackground()
{
    juce::Image image (juce::Image::RGB, pictureWidth, pictureHeight, true);
    juce::Graphics g (image);
    g.addTransform (juce::AffineTransform::scale ((float) pictureWidth / panelWidth, (float) pictureHeight / panelHeight));

    drawPanelBase (g);
    drawHeader (g);

    drawRowPlate (g, { 3.0f, 25.0f, panelWidth - 6.0f, 82.0f });
    drawRowPlate (g, { 3.0f, 125.0f, panelWidth - 6.0f, 82.0f });
    drawRowPlate (g, { 3.0f, 225.0f, panelWidth - 6.0f, 79.0f });

    for (const auto corner : knobCorners)
    {
        const juce::Point<float> centre ((float) corner.x + knobCentreX, (float) corner.y + knobCentreY);
        drawKnobSeat (g, centre, corner == curveKnobCorner ? 3 : 11);
        drawValueWindow (g, corner);
    }

    // The free places in the bottom row, between Pan, Decay Curve and Probability.
    for (const auto left : { 75.0f, 225.0f })
    {
        drawScrew (g, { left + 12.0f, 236.0f });
        drawScrew (g, { left + 63.0f, 236.0f });
        drawScrew (g, { left + 12.0f, 293.0f });
        drawScrew (g, { left + 63.0f, 293.0f });
    }

    drawDisplay (g);

    addGrain (image);
    return image;
}
} // namespace

int main (int argc, char** argv)
{
    if (argc != 2)
    {
        std::cerr << "usage: sampivo-background-art <output.jpg>\n";
        return 2;
    }

    const juce::ScopedJuceInitialiser_GUI juce;
    const auto image = drawBackground();

    const juce::File output (juce::File::getCurrentWorkingDirectory().getChildFile (argv[1]));
    output.deleteFile();
    juce::FileOutputStream stream (output);

    juce::JPEGImageFormat jpeg;
    jpeg.setQuality (0.92f);

    if (! stream.openedOk() || ! jpeg.writeImageToStream (image, stream))
    {
        std::cerr << "could not write " << output.getFullPathName() << "\n";
        return 1;
    }

    return 0;
}
