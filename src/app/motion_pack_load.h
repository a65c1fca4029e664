// File > Load motion-pack: an animated 3-D model becomes the Document's source in place of a picture.
// Its surface, sampled into circles, is the result that the layers paint; Filter and Transform do not
// apply to it. Runs on the worker.
#pragma once

#include <string>

#include "app/document.h"

namespace velq {

// Reads the model at `path` and installs it: a blank canvas of the video size in the background
// colour as the pictures, the samples as the circles, transformed. 0; -1 after "Failed to load motion
// pack- PATH (why)", the Document untouched. A model without animation is loaded and said to be still.
int load_motion_pack(Document& doc, Host& host, const std::string& path);

// Said when Max and Min would cover the model at `path` with more than kMaxPackSamples circles.
std::string too_many_samples_message(const std::string& path);

// A name ending in .gltf, .glb or .fbx (any case): a file for load_motion_pack.
bool is_model_file(const std::string& path);

}  // namespace velq
