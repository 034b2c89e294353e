#include "PosterStrip.h"

#include <QFont>
#include <QGraphicsSceneMouseEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QPen>

Poster::Poster(int number, QGraphicsItem* parent) : QGraphicsWidget(parent), m_number(number) {
  resize(PosterStrip::kPosterWidth, PosterStrip::kPosterHeight);
}

void Poster::paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget*) {
  QLinearGradient colours(rect().topLeft(), rect().bottomRight());
  colours.setColorAt(0, QColor::fromHsv(m_number * 47 % 360, 180, 220));
  colours.setColorAt(1, QColor::fromHsv(m_number * 47 % 360, 220, 90));
  painter->setPen(m_chosen ? QPen(Qt::white, 8) : QPen(Qt::NoPen));
  painter->setBrush(colours);
  painter->drawRoundedRect(rect().adjusted(4, 4, -4, -4), 10, 10);
  painter->setPen(Qt::white);
  painter->setFont(QFont(QStringLiteral("sans-serif"), 40, QFont::Bold));
  painter->drawText(rect(), Qt::AlignCenter, QString::number(m_number + 1));
}

// A tap arrives as a press and a release. Drags never arrive: the view keeps them.
void Poster::mousePressEvent(QGraphicsSceneMouseEvent* event) {
  m_lastPress = event->pos();
  m_pressed = true;
}

void Poster::mouseReleaseEvent(QGraphicsSceneMouseEvent*) {
  if (m_pressed) m_chosen = !m_chosen;
  m_pressed = false;
  update();
}

PosterStrip::PosterStrip(int count) {
  for (int i = 0; i < count; ++i) {
    m_posters.append(new Poster(i, this));
    m_posters.last()->setPos(i * (kPosterWidth + kGap), 0);
  }
  setPreferredSize(count * (kPosterWidth + kGap) - kGap, kPosterHeight);
}
