// SPDX-License-Identifier: MIT
/// @file
/// Facts about the device, for script in a host's own QtWebKit pages.
#pragma once

#include <QObject>
#include <QString>

#include "larka/Export.h"

struct SystemInfoData;

/// Facts about the device, as an object that a host can publish to script in a QtWebKit page of its
/// own (QWebFrame::addToJavaScriptWindowObject): script reads the properties and calls the slot.
/// The library implements it, but publishes none in its browsers. The parent owns it.
///
/// Hosts that include this header build with Qt5::Core.
class LARKA_EXPORT LarkaSystemInfoJavaScriptObject : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString serialnumber READ serialnumber)
  Q_PROPERTY(QString productname READ productname)
  Q_PROPERTY(QString firmwareversion READ firmwareversion)
  Q_PROPERTY(QString vendor READ vendor)
  Q_PROPERTY(QString resolution READ resolution)
  Q_PROPERTY(QString network READ network)
  Q_PROPERTY(QString techplatform READ techplatform)
  Q_PROPERTY(QString secureSerialNumber READ secureSerialNumber)
  Q_PROPERTY(QString debug_free READ debug_free)

 public:
  /// Copies the strings of `infoData`, read as Latin-1, except `resolution` and `network`, which
  /// are read as decimal numbers: 720 from "720p", 0 if there is no number. If `infoData` is null,
  /// writes a line to the standard error stream; the strings are then null and both numbers 0.
  LarkaSystemInfoJavaScriptObject(QObject* parent, SystemInfoData* infoData);
  ~LarkaSystemInfoJavaScriptObject() override;

  ///@{
  /// Return the facts as script reads them, the two numbers as decimal text.
  QString serialnumber() const;
  QString productname() const;
  QString firmwareversion() const;
  QString vendor() const;
  QString resolution() const;
  QString network() const;
  QString techplatform() const;
  QString secureSerialNumber() const;
  QString debug_free() const;
  ///@}

 public slots:
  /// Writes `str` to the standard error stream, as a line of UTF-8.
  void printDebug(const QString& str);

 private:
  QString m_serialNumber;
  QString m_productName;
  QString m_firmwareVersion;
  QString m_vendor;
  int m_resolution = 0;
  int m_network = 0;
  QString m_techPlatform;
  QString m_secureSerialNumber;
  QString m_debugFree;
};
