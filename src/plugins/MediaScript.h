// SPDX-License-Identifier: MIT
#pragma once

namespace LARKA {

/// Gives elements that QtWebKit doesn't know the interface of `video` and `audio`: an expression
/// whose value is a function. It takes the object that speaks with MediaElements, and runs in each
/// window before the page's own script.
///
/// QtWebKit makes these elements of a class without an interface when its media are turned off. So
/// nothing that a page does can load a film; a page that replaces what is here breaks only itself.
extern const char kMediaScript[];

/// The user style sheet that goes with it: gives a video its place, and clears the image there.
extern const char kMediaRules[];

}  // namespace LARKA
