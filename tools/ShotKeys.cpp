#include "ShotKeys.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include "larka/KeyCodes.h"

namespace {

struct Name {
  const char* name;
  int number;
};

const Name kKeys[] = {
    {"backspace", LARKA::KEYCODE_BACKSPACE},
    {"tab", LARKA::KEYCODE_TAB},
    {"return", LARKA::KEYCODE_RETURN},
    {"ok", LARKA::KEYCODE_RETURN},
    {"escape", LARKA::KEYCODE_ESCAPE},
    {"space", LARKA::KEYCODE_SPACE},
    {"comma", ','},
    {"plus", '+'},
    {"delete", LARKA::KEYCODE_DELETE},
    {"up", LARKA::KEYCODE_UP},
    {"down", LARKA::KEYCODE_DOWN},
    {"right", LARKA::KEYCODE_RIGHT},
    {"left", LARKA::KEYCODE_LEFT},
    {"insert", LARKA::KEYCODE_INSERT},
    {"home", LARKA::KEYCODE_HOME},
    {"end", LARKA::KEYCODE_END},
    {"page-up", LARKA::KEYCODE_PAGE_UP},
    {"page-down", LARKA::KEYCODE_PAGE_DOWN},
};

const Name kModifiers[] = {
    {"shift", LARKA::MODIFIER_LEFT_SHIFT},
    {"ctrl", LARKA::MODIFIER_LEFT_CONTROL},
    {"alt", LARKA::MODIFIER_LEFT_ALT},
    {"meta", LARKA::MODIFIER_META},
};

const int kHighestCode = 0xffff;

template <size_t Size>
bool find(const Name (&names)[Size], const QString& word, int* number) {
  for (const Name& name : names) {
    if (word.compare(QLatin1String(name.name), Qt::CaseInsensitive) != 0) continue;
    *number = name.number;
    return true;
  }
  return false;
}

/// A name, a single character (digits included), or a code.
bool findKey(const QString& word, int* code) {
  if (word.size() == 1) {
    *code = word[0].unicode();
    return *code < LARKA::KEYCODE_KEYPAD_0 || *code > LARKA::KEYCODE_PAGE_DOWN;  // keys there
  }
  if (find(kKeys, word, code)) return true;
  bool isNumber = false;
  *code = word.toInt(&isNumber);
  return isNumber && *code >= 0 && *code <= kHighestCode;
}

}  // namespace

bool parseKeys(std::string& text, std::vector<ShotKey>* keys) {
  QString list = QString::fromStdString(text);
  list.replace(',', ' ');
  for (const QString& word : list.split(' ', Qt::SkipEmptyParts)) {
    QStringList parts = word.split('+');
    ShotKey key;
    bool known = findKey(parts.takeLast(), &key.code);
    for (const QString& part : parts) {
      int modifier = 0;
      known = known && find(kModifiers, part, &modifier);
      key.modifiers |= modifier;
    }
    if (!known) {
      text = word.toStdString();
      return false;
    }
    keys->push_back(key);
  }
  return !keys->empty();
}
