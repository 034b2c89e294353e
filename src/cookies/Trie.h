// SPDX-License-Identifier: MIT
#pragma once

#include <QDataStream>
#include <QList>
#include <QNetworkCookie>
#include <QStringList>
#include <algorithm>

namespace LARKA {

/// A tree of values with string paths, used for cookies by the labels of their domain. Paths are
/// walked from their last element to their first, so the children of the root are the top-level
/// domains.
///
/// A tree from a damaged file may be very deep, so nothing here recurses.
template <typename T>
class Trie {
 public:
  Trie() = default;
  Trie(const Trie&) = default;
  Trie& operator=(const Trie&) = default;
  ~Trie() { clear(); }

  /// Adds a value to the node at `path`, and creates the node if necessary.
  void insert(const QStringList& path, const T& value) { walkTo(path, true)->values.append(value); }

  /// Removes one value that equals `value` from the node at `path`, then every node of the path
  /// that is empty. Returns false if there is no such value; the nodes of the path are then created
  /// nevertheless.
  bool remove(const QStringList& path, const T& value);

  /// Returns the values of the node at `path`, without those of its children.
  QList<T> find(const QStringList& path) const {
    const Trie* node = walkTo(path);
    return node ? node->values : QList<T>();
  }

  /// Returns every value: those of a node before those of its children, children in the order of
  /// their keys.
  QList<T> all() const;

  /// Returns the node at `path`. If there is none, creates it with `create`, otherwise returns
  /// null.
  const Trie* walkTo(const QStringList& path) const;
  Trie* walkTo(const QStringList& path, bool create);

  /// Removes all values and children.
  void clear();

  /// Calls `visit` with each node and the keys on the way to it, parents first, children in the
  /// order of their keys.
  template <typename Visit>
  void forEachNode(Visit visit) const;

  /// Returns whether the keys of every node are sorted and unique, and each key has a child. All
  /// other operations but clear() and forEachNode() rely on that.
  bool isConsistent() const;

  QList<T> values;           // in the order of insertion
  QStringList childrenKeys;  // sorted
  QList<Trie<T>> children;   // children[i] belongs to childrenKeys[i]

 private:
  static int indexOf(const QStringList& keys, const QString& key) {
    const auto found = std::lower_bound(keys.begin(), keys.end(), key);
    return found != keys.end() && *found == key ? static_cast<int>(found - keys.begin()) : -1;
  }

  template <typename U>
  friend QDataStream& operator<<(QDataStream& stream, const Trie<U>& trie);
};

template <typename T>
template <typename Visit>
void Trie<T>::forEachNode(Visit visit) const {
  struct Entered {
    const Trie* node;
    int nextChild;
  };
  QList<Entered> entered = {{this, 0}};
  QStringList keys;
  visit(*this, keys);
  while (!entered.isEmpty()) {
    const Trie* node = entered.last().node;
    const int child = entered.last().nextChild++;
    if (child == node->children.size()) {
      entered.removeLast();
      if (!keys.isEmpty()) keys.removeLast();
      continue;
    }
    keys.append(node->childrenKeys.value(child));
    entered.append({&node->children.at(child), 0});
    visit(node->children.at(child), keys);
  }
}

template <typename T>
const Trie<T>* Trie<T>::walkTo(const QStringList& path) const {
  const Trie* node = this;
  for (int i = path.size(); i-- > 0;) {
    const int child = indexOf(node->childrenKeys, path.at(i));
    if (child < 0) return nullptr;
    node = &node->children.at(child);
  }
  return node;
}

template <typename T>
Trie<T>* Trie<T>::walkTo(const QStringList& path, bool create) {
  Trie* node = this;
  for (int i = path.size(); i-- > 0;) {
    const QString& key = path.at(i);
    int child = indexOf(node->childrenKeys, key);
    if (child < 0) {
      if (!create) return nullptr;
      const QStringList& keys = node->childrenKeys;
      child = static_cast<int>(std::lower_bound(keys.begin(), keys.end(), key) - keys.begin());
      node->childrenKeys.insert(child, key);
      node->children.insert(child, Trie());
    }
    node = &node->children[child];
  }
  return node;
}

template <typename T>
bool Trie<T>::remove(const QStringList& path, const T& value) {
  Trie* node = walkTo(path, true);
  if (!node->values.removeOne(value)) return false;
  for (QStringList rest = path;
       node->values.isEmpty() && node->children.isEmpty() && !rest.isEmpty();) {
    const QString key = rest.takeFirst();
    node = walkTo(rest, false);
    const int child = indexOf(node->childrenKeys, key);
    node->childrenKeys.removeAt(child);
    node->children.removeAt(child);
  }
  return true;
}

template <typename T>
QList<T> Trie<T>::all() const {
  QList<T> found;
  forEachNode([&found](const Trie& node, const QStringList&) { found += node.values; });
  return found;
}

// Destroying a node with children would recurse, so each one loses its children first.
template <typename T>
void Trie<T>::clear() {
  values.clear();
  childrenKeys.clear();
  QList<Trie> pending;
  pending.swap(children);
  while (!pending.isEmpty()) {
    QList<Trie> grandchildren;
    grandchildren.swap(pending.last().children);
    pending.removeLast();
    for (Trie& grandchild : grandchildren) {
      pending.append(Trie());
      pending.last().children.swap(grandchild.children);
    }
  }
}

template <typename T>
bool Trie<T>::isConsistent() const {
  bool consistent = true;
  forEachNode([&consistent](const Trie& node, const QStringList&) {
    const QStringList& keys = node.childrenKeys;
    const auto unordered = [](const QString& a, const QString& b) { return !(a < b); };
    if (keys.size() != node.children.size() ||
        std::adjacent_find(keys.begin(), keys.end(), unordered) != keys.end())
      consistent = false;
  });
  return consistent;
}

// The layout of a node, big-endian:
//
//   quint32 count, then as many values
//   quint32 count, then as many keys (QString)
//   quint32 count, then as many nodes, in the order of the keys
//
// A value is a QByteArray with the cookie as in a Set-Cookie header; see docs/cookie-file.md.

template <typename T>
QDataStream& operator<<(QDataStream& stream, const Trie<T>& trie) {
  trie.forEachNode([&stream](const Trie<T>& node, const QStringList&) {
    stream << node.values << node.childrenKeys << static_cast<quint32>(node.children.size());
  });
  return stream;
}

/// Reads a list, up to the end of the stream if that comes first. Doesn't trust the count, and so
/// reserves no memory for it.
template <typename Item>
void readList(QDataStream& stream, QList<Item>* list) {
  quint32 count = 0;
  stream >> count;
  list->clear();
  static const Item kBlank{};  // shared by all items that can't be read
  for (quint32 i = 0; i < count; ++i) {
    Item item = kBlank;
    stream >> item;
    list->append(item);
    if (stream.atEnd()) break;
  }
}

template <typename T>
QDataStream& operator>>(QDataStream& stream, Trie<T>& trie) {
  struct Unfinished {
    Trie<T>* node;
    quint32 childrenLeft;
  };
  QList<Unfinished> pending;
  const auto readNode = [&](Trie<T>* node) {
    quint32 count = 0;
    node->clear();
    readList(stream, &node->values);
    readList(stream, &node->childrenKeys);
    stream >> count;
    if (count > 0) pending.append({node, count});
  };
  readNode(&trie);
  while (!pending.isEmpty()) {
    Unfinished& last = pending.last();
    Trie<T>* const node = last.node;
    if (--last.childrenLeft == 0) pending.removeLast();
    node->children.append(Trie<T>());
    readNode(&node->children.last());
    if (stream.atEnd()) break;
  }
  return stream;
}

}  // namespace LARKA
