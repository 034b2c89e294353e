// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

const int kWidth = 1280;
const int kHeight = 720;

/// A page on one of the sides that are compared. It is painted into an image whenever it changes.
class Page {
 public:
  virtual ~Page() = default;
  virtual void load(const std::string& url) = 0;
  virtual void script(const std::string& code) = 0;
  /// Presses and releases the key of a small letter.
  virtual void type(char letter) = 0;
  /// Returns the image, kWidth by kHeight pixels 0xAARRGGBB; null if there is none yet.
  virtual const unsigned char* image() = 0;

  bool loaded = false;
  int frames = 0;                 // painted so far
  std::function<void()> changed;  // called after each frame, and when the page has loaded

 protected:
  void loadEnded() {
    loaded = true;
    changed();
  }
  void framePainted() {
    ++frames;
    changed();
  }
};

/// One of the sides that are compared: QtWebKit alone (bare.cpp) or the library (library.cpp).
class Side {
 public:
  virtual ~Side() = default;
  virtual std::unique_ptr<Page> open() = 0;
  /// Handles the events that are waiting.
  virtual void pump() = 0;
  /// Handles events until quit().
  virtual void run() = 0;
  virtual void quit() = 0;
};

std::unique_ptr<Side> makeSide(int& argc, char** argv);
