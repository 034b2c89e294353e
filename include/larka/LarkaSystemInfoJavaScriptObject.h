// LarkaSystemInfoJavaScriptObject.h: facts about the device, for page script.
// Hosts that include it build with Qt5::Core.
#pragma once

#include <QObject>
#include <QString>

#include "larka/Export.h"

struct SystemInfoData;

/// Facts about the device as an object that a host can publish to the script of a page of its own
/// (QWebFrame::addToJavaScriptWindowObject): script reads the properties and calls the slot. The
/// library publishes none in its browsers. It belongs to its parent.
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
  /// Copies the texts of `infoData`, read as Latin-1; the fields `resolution` and `network` are
  /// read as decimal numbers as far as they are one (720 from "720p"), else as 0. Without a record
  /// it says so on the standard error stream, the texts are null and the two numbers 0.
  LarkaSystemInfoJavaScriptObject(QObject* parent, SystemInfoData* infoData);
  ~LarkaSystemInfoJavaScriptObject() override;

  ///@{
  /// The facts, as script reads them; the two numbers as decimal text.
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
  /// Writes a line with `str`, as UTF-8, to the standard error stream.
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
