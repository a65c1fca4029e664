// The filter and then the transform that the Document's settings name (filter kind, memory limit,
// transform mode), with no count message: how Paste, a reopened result and the command-line tool
// remake the circles. Runs on the worker.
#pragma once

#include "app/document.h"

namespace velq {

// 0, or -1 when either step failed (after the system's message) or was stopped.
int filter_and_transform(Document& doc, Host& host);

}  // namespace velq
