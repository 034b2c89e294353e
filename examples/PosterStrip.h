// PosterStrip.h: a row of film posters.
#pragma once

#include <QGraphicsWidget>
#include <QVector>

/// One poster; it lights up while it is chosen.
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

/// The row, as wide as its posters.
class PosterStrip : public QGraphicsWidget {
 public:
  static const int kPosterWidth = 160, kPosterHeight = 240, kGap = 20;

  explicit PosterStrip(int count);

  const QVector<Poster*>& posters() const { return m_posters; }

 private:
  QVector<Poster*> m_posters;
};
