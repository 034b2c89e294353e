#include "ErrorScreen.h"

#include <vector>

#include "Focus.h"
#include "Window.h"

namespace tv {

namespace {

const std::vector<SDL_Rect> kButtons = {{120, 560, 240, 60}, {390, 560, 240, 60}};

const char* headline(LARKA::LoadErrorKind kind) {
  switch (kind) {
    case LARKA::LOAD_NAME_NOT_FOUND:
      return "There is no such address";
    case LARKA::LOAD_NO_FILE:
      return "There is no such page";
    case LARKA::LOAD_REFUSED:
    case LARKA::LOAD_CONNECTION_LOST:
      return "The server can't be reached";
    case LARKA::LOAD_TIMED_OUT:
      return "The server takes too long";
    case LARKA::LOAD_CERTIFICATE:
      return "The connection isn't safe";
    case LARKA::LOAD_BLOCKED:
      return "This page isn't for everyone";
    case LARKA::LOAD_HTTP_STATUS:
      return "The server has a problem";
    case LARKA::LOAD_NOT_SHOWN:
      return "This isn't a page";
    default:
      return "The page can't be shown";
  }
}

ErrorScreen::Choice choiceOf(int button) {
  return button == 0   ? ErrorScreen::Choice::TryAgain
         : button == 1 ? ErrorScreen::Choice::Leave
                       : ErrorScreen::Choice::None;
}

}  // namespace

ErrorScreen::Choice ErrorScreen::press(Key key) {
  if (key == Key::Back) return Choice::Leave;
  if (key == Key::Ok) return choiceOf(m_focus);
  m_focus = neighbour(kButtons, m_focus, key);
  return Choice::None;
}

ErrorScreen::Choice ErrorScreen::click(SDL_Point point) {
  return choiceOf(areaAt(kButtons, point));
}

void ErrorScreen::draw(Canvas& canvas, const LARKA::LoadError& error) const {
  canvas.fillGradient(kScreen, {62, 24, 46, 255}, kDark);
  canvas.text("!", 124, 120, 110, kGold);
  canvas.text(headline(error.kind), 120, 270, 52, kWhite, 1040);
  canvas.text(error.address, 120, 350, 26, kGold, 1040);
  std::string reason = error.text;
  if (error.httpStatus > 0) reason += ", " + std::to_string(error.httpStatus);
  canvas.paragraph(reason, 120, 400, 1040, 26, kGrey);
  canvas.button("Try again", kButtons[0], m_focus == 0);
  canvas.button("Back", kButtons[1], m_focus == 1);
}

}  // namespace tv
