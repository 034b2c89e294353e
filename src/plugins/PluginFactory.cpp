// SPDX-License-Identifier: MIT
#include "plugins/PluginFactory.h"

#include <QStringList>
#include <QUrl>
#include <QWebElementCollection>
#include <QWebFrame>
#include <QWebPage>
#include <utility>

#include "elements/WebElement.h"
#include "host/HostEvents.h"
#include "plugins/PluginPlaceholder.h"

namespace LARKA {

namespace {

/// A type whose `object` elements are plug-ins, and the file name extensions that stand for it
/// where an element names no type. Lower case; QtWebKit ignores case.
struct ObjectType {
  const char* name;
  const char* extensions;
};

const ObjectType kObjectTypes[] = {
    // Video.
    {"video/3gpp", "3gp"},
    {"video/3gpp2", "3g2"},
    {"video/avi", ""},
    {"video/flv", ""},
    {"video/mp2p", ""},
    {"video/mp2t", "ts m2ts"},
    {"video/mp4", "mp4"},
    {"video/mpeg", "mpg mpeg"},
    {"video/mpeg4", ""},
    {"video/ogg", "ogv"},
    {"video/quicktime", "mov"},
    {"video/vnd.dlna.mpeg-tts", ""},
    {"video/webm", "webm"},
    {"video/x-flv", "flv"},
    {"video/x-m4v", "m4v"},
    {"video/x-matroska", "mkv"},
    {"video/x-ms-asf", "asf"},
    {"video/x-ms-asx", "asx"},
    {"video/x-ms-wmv", "wmv"},
    {"video/x-msvideo", "avi"},
    {"application/dash+xml", "mpd"},
    {"application/ogg", "ogg"},
    {"application/sdp", "sdp"},
    {"application/vnd.apple.mpegurl", "m3u8"},
    {"application/vnd.ms-sstr+xml", "ism"},
    {"application/vnd.rn-realmedia", "rm"},
    {"application/x-mpegurl", ""},
    {"application/x-mplayer2", ""},
    // Audio.
    {"audio/3gpp", ""},
    {"audio/aac", "aac"},
    {"audio/ac3", "ac3"},
    {"audio/flac", "flac"},
    {"audio/mp3", ""},
    {"audio/mp4", "m4a"},
    {"audio/mpeg", "mp3"},
    {"audio/mpegurl", "m3u"},
    {"audio/ogg", "oga"},
    {"audio/wav", "wav"},
    {"audio/webm", ""},
    {"audio/x-m4a", ""},
    {"audio/x-mpegurl", ""},
    {"audio/x-ms-wma", "wma"},
    {"audio/x-pn-realaudio", "ra"},
    {"audio/x-wav", ""},
    // Flash.
    {"application/futuresplash", "spl"},
    {"application/vnd.adobe.flash.movie", ""},
    {"application/x-shockwave-flash", "swf"},
    // Hybrid television: the broadcast, its recordings and channels, smart cards and other
    // conditional access, the receiver itself.
    {"video/broadcast", ""},
    {"application/hbbtvcsmanager", ""},
    {"application/hbbtvmediasynchroniser", ""},
    {"application/notifsocket", ""},
    {"application/oipfapplicationmanager", ""},
    {"application/oipfcapabilities", ""},
    {"application/oipfcodmanager", ""},
    {"application/oipfcommunicationservices", ""},
    {"application/oipfconfiguration", ""},
    {"application/oipfdownloadmanager", ""},
    {"application/oipfdownloadtrigger", ""},
    {"application/oipfdrmagent", ""},
    {"application/oipfgatewayinfo", ""},
    {"application/oipfims", ""},
    {"application/oipfmdtf", ""},
    {"application/oipfparentalcontrolmanager", ""},
    {"application/oipfrecordingscheduler", ""},
    {"application/oipfremotecontrolfunction", ""},
    {"application/oipfremotemanagement", ""},
    {"application/oipfsearchmanager", ""},
    {"application/oipfstatusview", ""},
    {"application/vnd.oipf.contentaccessdownload+xml", ""},
    {"application/vnd.oipf.contentaccessstreaming+xml", ""},
    {"application/x-smartcard", ""},
};

QWebPluginFactory::MimeType mimeType(const ObjectType& type) {
  QWebPluginFactory::MimeType mimeType;
  mimeType.name = QLatin1String(type.name);
  mimeType.fileExtensions =
      QString::fromLatin1(type.extensions).split(QLatin1Char(' '), Qt::SkipEmptyParts);
  return mimeType;
}

/// Appends the elements of `frame`, and of the frames in it, that can be plug-ins.
void appendPluginElements(QWebFrame* frame, QList<QWebElement>* elements) {
  elements->append(frame->findAllElements(QStringLiteral("embed,object")).toList());
  for (QWebFrame* child : frame->childFrames()) appendPluginElements(child, elements);
}

}  // namespace

PluginFactory::PluginFactory(QWebPage* page) : QWebPluginFactory(page), m_page(page) {}

QList<QWebPluginFactory::Plugin> PluginFactory::plugins() const {
  Plugin plugin;
  plugin.name = QStringLiteral("Larka");
  plugin.description = QStringLiteral("Content that the application shows itself");
  for (const ObjectType& type : kObjectTypes) plugin.mimeTypes.append(mimeType(type));
  return {plugin};
}

QObject* PluginFactory::create(const QString&, const QUrl&, const QStringList&,
                               const QStringList&) const {
  auto* self = const_cast<PluginFactory*>(this);  // the signature is Qt's; nothing here is const
  auto* placeholder = new PluginPlaceholder;
  self->m_created.emplace_back(placeholder);
  postHostEvent(self, webKitUse(), [self] { self->announce(); });
  return placeholder;
}

void PluginFactory::forget() {
  m_created.clear();
  m_found.clear();
}

// A listener may change the page, leave it, or pump and so get here again.
void PluginFactory::announce() {
  const QPointer<PluginFactory> self(this);
  findElements();
  while (self && !m_found.empty()) {
    const Found found = m_found.front();
    m_found.pop_front();
    if (found.placeholder && WebElement::isInPage(found.element))
      emit pluginCreated(found.element, found.placeholder);
  }
}

void PluginFactory::findElements() {
  std::vector<Found> searched;
  const QByteArray name = PluginPlaceholder::newMarkName();
  for (const QPointer<PluginPlaceholder>& placeholder : std::exchange(m_created, {})) {
    if (!placeholder) continue;
    placeholder->setMark(name, static_cast<int>(searched.size()));
    searched.push_back({placeholder, QWebElement()});
  }
  if (searched.empty()) return;

  QList<QWebElement> elements;
  appendPluginElements(m_page->mainFrame(), &elements);
  for (QWebElement& element : elements) {
    const int mark = PluginPlaceholder::markOf(element, name);
    if (mark < 0 || mark >= static_cast<int>(searched.size())) continue;
    // An element in the fallback of a plug-in answers for the plug-in around it, and comes later.
    if (searched[mark].element.isNull()) searched[mark].element = element;
  }
  for (const Found& each : searched) {
    if (each.placeholder) each.placeholder->removeMark(name);
    if (!each.element.isNull()) m_found.push_back(each);
  }
}

}  // namespace LARKA
