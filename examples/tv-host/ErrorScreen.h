// What the viewer sees when a page can't be loaded. To lift: the texts that fit each kind of error.
#pragma once

#include <larka/larka.h>

#include "Canvas.h"
#include "Remote.h"

namespace tv {

class ErrorScreen {
 public:
  enum class Choice { None, TryAgain, Leave };

  Choice press(Key key);
  Choice click(SDL_Point point);
  void draw(Canvas& canvas, const LARKA::LoadError& error) const;

 private:
  int m_focus = 0;
};

}  // namespace tv
