// Render: every shown layer's placements painted over the background, then the logo, into the
// Document's render_buffer. Runs on the worker; reads the layers, segments, circles and settings.
#pragma once

#include "app/document.h"
#include "host/random.h"

namespace velq {

// Renders width x height into a new render_buffer ("Velquinograph (Rendering shapes...)"). 0 on
// success and when stopped (rendered stays clear then); -1 when refused for want of circles or when
// the buffer could not be had, after the system's message. On success the settings are kept as the ones that
// made the render.
int generate_shaped_image(Document& doc, Host& host, int width, int height);

// The output size of a render: the Settings' pixel size, or the working picture's when none is set.
void render_size(const Document& doc, int& width, int& height);

// One layer alone into `buffer` (4 channels, the output size), in the painter's layer mode on
// transparent black, without the background (the first layer white-tinted, as the render paints
// it). `random` carries the colour draws from layer to layer: passing one Random(seed) through the
// shown layers in order gives each the draws it has in the render. A hidden layer is painted as if
// shown, with draws of its own. 1 when the layer has nothing to paint, -1 when stopped, else 0.
int render_layer(Document& doc, Host& host, UBUFFER& buffer, int index, Random& random);

}  // namespace velq
