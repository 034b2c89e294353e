#include "Browser.h"

#include <algorithm>

#include "Window.h"

namespace tv {

namespace {

// A server that doesn't answer within this time, in milliseconds, gets an error screen.
constexpr int kPatience = 20000;
constexpr char kStyle[] = "::-webkit-scrollbar { display: none }";

}  // namespace

Browser::Browser(LARKA::BrowserManager& manager, BrowserOwner& owner, SDL_Renderer* renderer,
                 bool transparent)
    : m_manager(manager),
      m_owner(owner),
      m_transparent(transparent),
      m_larka(manager.CreateBrowser()),
      m_texture(renderer),
      m_films(manager) {
  m_larka->AddListener(this);
  LARKA::AddExtraListener(m_larka, this);
  LARKA::SetTransparent(m_larka, transparent);
  LARKA::SetMediaHandedOver(m_larka, true);
  LARKA::SetCertificateChecks(m_larka, true);
  LARKA::SetImageFollowsResize(m_larka, true);
  LARKA::EnableMessages(m_larka, true);
  LARKA::SetLoadTimeLimit(m_larka, kPatience);
  LARKA::SetStyleSheet(m_larka, kStyle);
  m_larka->Initialize(kWidth, kHeight, nullptr, nullptr, true, nullptr);
}

Browser::~Browser() { m_manager.DestroyBrowser(m_larka, true); }

bool Browser::seeThrough() const {
  return m_transparent || std::any_of(m_holes.begin(), m_holes.end(),
                                      [](const PluginHole& hole) { return hole.under; });
}

void Browser::open(const std::string& address) {
  m_lost = false;
  m_larka->Navigate(address.c_str());
}

void Browser::show(int height) {
  m_shown = height > 0;
  m_larka->Resize(m_shown ? kWidth : 0, height);
  if (m_shown && m_lost) open(m_address);
}

void Browser::press(int key) {
  m_larka->KeyDown(key, 0);
  m_larka->KeyUp(key, 0);
}

void Browser::click(SDL_Point point, bool down) {
  m_larka->MouseMove(point.x, point.y, 0);
  if (down)
    m_larka->MouseDown(point.x, point.y, 0);
  else
    m_larka->MouseUp(point.x, point.y, 0);
}

std::string Browser::evaluate(const std::string& script) const {
  return LARKA::EvaluateScript(m_larka, script.c_str()).json;
}

void Browser::OnLoadStarted() {
  m_owner.onLeaving(*this);
  m_error = LARKA::LoadError();
  m_holes.clear();
  OnLoadProgress(0);
}

void Browser::OnLoadProgress(int percent) {
  m_progress = percent;
  m_owner.onState(*this);
}

void Browser::OnLoadFinished(bool ok) {
  m_progress = 100;
  if (!ok) m_error = LARKA::GetLoadError(m_larka);
  // Stopped, or replaced by another load: the viewer wanted it so.
  if (m_error.kind == LARKA::LOAD_ABORTED) m_error = LARKA::LoadError();
  m_owner.onState(*this);
}

void Browser::OnTitleChanged(const char* title) {
  m_title = title;
  m_owner.onState(*this);
}

void Browser::OnUrlChanged(const char* url) {
  m_address = url;
  m_owner.onState(*this);
}

void Browser::OnDirty(LARKA::ILarkaBrowser* browser) {
  const long long bytes = m_texture.update(browser);
  m_holes = findHoles(browser);
  m_owner.onPicture(bytes);
}

void Browser::OnCreateWindow(bool /*modal*/, const char* url) { m_owner.onWindowWanted(url); }

void Browser::OnJavaScriptAlert(const char* message) { m_owner.alert(message); }

bool Browser::OnJavaScriptConfirm(const char* message) { return m_owner.confirm(message); }

std::string Browser::OnJavaScriptPrompt(const char* message, const char* defaultValue,
                                        bool* handled) {
  std::string answer = defaultValue;
  *handled = m_owner.prompt(message, answer);
  return answer;
}

std::string Browser::OnExecuteInLarka(const char* command) { return m_owner.command(command); }

void Browser::OnMediaRequest(LARKA::ILarkaBrowser* /*browser*/, LARKA::LarkaPluginWidget* player,
                             LARKA::MediaAction action, double value) {
  m_films.request(*player, action, value);
  if (action == LARKA::MEDIA_CLOSE) m_holes = findHoles(m_larka);  // without the film's
}

void Browser::OnTextField(LARKA::ILarkaBrowser* /*browser*/, const LARKA::TextField& field) {
  m_field = field;
  m_owner.onTextField(*this);
}

// Only the page that the viewer sees loads again at once: one that nobody sees may be what the
// process has ended of.
void Browser::OnEngineState(LARKA::ILarkaBrowser* /*browser*/, LARKA::EngineState state) {
  m_silent = state == LARKA::ENGINE_SILENT;
  if (state == LARKA::ENGINE_ENDED || state == LARKA::ENGINE_STOPPED) {
    m_holes.clear();
    m_lost = !m_address.empty();
  }
  if (state == LARKA::ENGINE_ENDED && m_shown && m_lost) open(m_address);
  if (state == LARKA::ENGINE_STOPPED) {
    m_error.kind = LARKA::LOAD_OTHER;
    m_error.text = "QtWebKit has ended several times";
    m_error.address = m_address;
  }
  m_owner.onState(*this);
}

}  // namespace tv
