// SPDX-License-Identifier: MIT
#pragma once

#include <QGraphicsWidget>
#include <QVector>

/// A film poster. It has a white frame while it is chosen; a tap toggles that.
class Poster : public QGraphicsWidget {
 public:
  Poster(int number, QGraphicsItem* parent);

  int number() const { return m_number; }
  bool isChosen() const { return m_chosen; }
  QPointF lastPress() const { return m_lastPress; }

  void paint(QPainter* painter, const QStyleOptionGraphicsItem* option,
             QWidget* widget = nullptr) override;

 protected:
  void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
  void mouseReleaseEvent(QGraphicsSceneMouseEvent* event) override;

 private:
  int m_number;
  QPointF m_lastPress;
  bool m_pressed = false;
  bool m_chosen = false;
};

/// A row of film posters.
class PosterStrip : public QGraphicsWidget {
 public:
  static const int kPosterWidth = 160, kPosterHeight = 240, kGap = 20;

  explicit PosterStrip(int count);

  const QVector<Poster*>& posters() const { return m_posters; }

 private:
  QVector<Poster*> m_posters;
};
