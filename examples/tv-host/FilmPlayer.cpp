#include "FilmPlayer.h"

#include <algorithm>

namespace tv {

namespace {

constexpr double kLength = 60;  // of every film, in seconds
constexpr int kReportEvery = 250;

}  // namespace

double Film::seconds() const {
  const double passed = m_running ? static_cast<double>(SDL_GetTicks64() - m_since) / 1000 : 0;
  return std::min(m_begin + passed, kLength);
}

void Film::setRunning(bool running) {
  m_begin = seconds() < kLength ? seconds() : 0;
  m_since = SDL_GetTicks64();
  m_running = running;
}

void Film::request(LARKA::MediaAction action, double value) {
  if (action == LARKA::MEDIA_PLAY || action == LARKA::MEDIA_PAUSE)
    setRunning(action == LARKA::MEDIA_PLAY);
  if (action == LARKA::MEDIA_OPEN) m_running = false;
  if (action == LARKA::MEDIA_OPEN || action == LARKA::MEDIA_SEEK) {
    m_begin = value;
    m_since = SDL_GetTicks64();
  }
  report();
}

void Film::report() {
  LARKA::MediaReport report;
  report.status = seconds() >= kLength ? LARKA::MEDIA_ENDED
                  : m_running          ? LARKA::MEDIA_PLAYING
                                       : LARKA::MEDIA_PAUSED;
  report.time = seconds();
  report.duration = kLength;
  report.width = 640;
  report.height = 360;
  LARKA::ReportMedia(&m_element, report);
}

FilmPlayer::FilmPlayer(LARKA::BrowserManager& manager)
    : m_manager(manager),
      m_timer(manager.CreateTimer(
          [](LARKA::ITimer*, void* player) { static_cast<FilmPlayer*>(player)->report(); },
          kReportEvery, false, this)) {
  m_timer->Start();
}

FilmPlayer::~FilmPlayer() {
  m_timer->Stop();
  m_manager.DisposeTimer(m_timer);
}

// A page that hears of its film may open and close others: closed ones go before that, not
// meanwhile.
void FilmPlayer::report() {
  m_films.remove_if([](const Film& film) { return film.isClosed(); });
  for (Film& film : m_films)
    if (!film.isClosed()) film.report();
}

void FilmPlayer::request(LARKA::LarkaPluginWidget& element, LARKA::MediaAction action,
                         double value) {
  auto* film = static_cast<Film*>(element.GetUserData());
  if (action == LARKA::MEDIA_CLOSE) return film ? film->close() : void();
  if (!film) {
    film = &m_films.emplace_back(element);
    element.SetUserData(film);
  }
  film->request(action, value);
}

}  // namespace tv
