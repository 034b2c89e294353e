// The table of keys, for the page and for plug-ins.
#include "input/KeyEvent.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <memory>

namespace {

std::unique_ptr<QKeyEvent> event(int code, int modifiers, bool forPlugin) {
  return std::unique_ptr<QKeyEvent>(
      LARKA::createKeyEventFromVirtualKeyCode(code, modifiers, QEvent::KeyPress, forPlugin));
}

struct Row {
  const char* name;
  int code, key;
  bool keypad;
  int pluginKey, pluginText;
};

const Row kRows[] = {
    {"backspace", 8, Qt::Key_Backspace, false, 0, 8},
    {"tab", 9, Qt::Key_Tab, false, Qt::Key_Tab, 9},
    {"line feed", 10, Qt::Key_Return, false, Qt::Key_Return, 10},
    {"return", 13, Qt::Key_Return, false, Qt::Key_Return, 13},
    {"escape", 27, Qt::Key_Escape, false, Qt::Key_Escape, 27},
    {"space", 32, 0, false, 0, 32},
    {"percent", 37, 0, false, 37, 0},
    {"ampersand", 38, 0, false, 38, 0},
    {"quote", 39, 0, false, 39, 0},
    {"parenthesis", 40, 0, false, 40, 0},
    {"0", 48, Qt::Key_0, false, Qt::Key_0, 48},
    {"9", 57, Qt::Key_9, false, Qt::Key_9, 57},
    {"colon", 58, 0, false, 0, 58},
    {"A", 65, Qt::Key_A, false, Qt::Key_A, 65},
    {"Z", 90, Qt::Key_Z, false, Qt::Key_Z, 90},
    {"a", 97, Qt::Key_A, false, Qt::Key_A, 97},
    {"z", 122, Qt::Key_Z, false, Qt::Key_Z, 122},
    {"delete", 127, Qt::Key_Delete, false, Qt::Key_Delete, 127},
    {"keypad 0", 256, Qt::Key_0, true, Qt::Key_0, 256},
    {"keypad 9", 265, Qt::Key_9, true, Qt::Key_9, 265},
    {"keypad period", 266, Qt::Key_Period, true, Qt::Key_Period, 266},
    {"keypad slash", 267, Qt::Key_Slash, true, Qt::Key_Slash, 267},
    {"keypad asterisk", 268, Qt::Key_Asterisk, true, Qt::Key_Asterisk, 268},
    {"keypad minus", 269, Qt::Key_Minus, true, Qt::Key_Minus, 269},
    {"keypad plus", 270, Qt::Key_Plus, true, Qt::Key_Plus, 270},
    {"keypad enter", 271, Qt::Key_Enter, false, Qt::Key_Enter, 271},
    {"keypad equal", 272, Qt::Key_Equal, true, Qt::Key_Equal, 272},
    {"up", 273, Qt::Key_Up, true, 0, 38},
    {"down", 274, Qt::Key_Down, true, 0, 40},
    {"right", 275, Qt::Key_Right, true, 0, 39},
    {"left", 276, Qt::Key_Left, true, 0, 37},
    {"insert", 277, Qt::Key_Insert, false, Qt::Key_Insert, 277},
    {"home", 278, Qt::Key_Home, false, Qt::Key_Home, 278},
    {"end", 279, Qt::Key_End, false, Qt::Key_End, 279},
    {"page up", 280, Qt::Key_PageUp, false, Qt::Key_PageUp, 280},
    {"page down", 281, Qt::Key_PageDown, false, Qt::Key_PageDown, 281},
    {"none", 282, 0, false, 0, 282},
    {"nothing", 0, 0, false, 0, 0},
};

TEST(KeyEventTest, EveryKeyIsTranslated) {
  for (const Row& row : kRows) {
    const auto page = event(row.code, 0, false), plugin = event(row.code, 0, true);
    EXPECT_EQ(page->key(), row.key) << row.name;
    EXPECT_EQ(page->modifiers(), row.keypad ? Qt::KeypadModifier : Qt::NoModifier) << row.name;
    EXPECT_EQ(page->text(), QString(QChar(row.code))) << row.name;
    EXPECT_EQ(plugin->key(), row.pluginKey) << row.name;
    EXPECT_EQ(plugin->text(), QString(QChar(row.pluginText))) << row.name;
    const bool arrow = row.code >= 273 && row.code <= 276;
    EXPECT_EQ(plugin->modifiers(), row.keypad && !arrow ? Qt::KeypadModifier : Qt::NoModifier);
  }
}

TEST(KeyEventTest, EveryModifierIsTranslated) {
  const std::pair<int, Qt::KeyboardModifiers> rows[] = {
      {0x01, Qt::ControlModifier},
      {0x02, Qt::ControlModifier},
      {0x04, Qt::AltModifier},
      {0x08, Qt::AltModifier},
      {0x10, Qt::ShiftModifier},
      {0x20, Qt::ShiftModifier},
      {0x40, Qt::MetaModifier},
      {0x80, Qt::NoModifier},
      {0x55, Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::MetaModifier}};
  for (const auto& row : rows) EXPECT_EQ(event('a', row.first, false)->modifiers(), row.second);
  EXPECT_EQ(event(256, 0x10, false)->modifiers(), Qt::ShiftModifier | Qt::KeypadModifier);
}

}  // namespace
