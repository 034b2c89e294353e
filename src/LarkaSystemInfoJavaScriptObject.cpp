// SPDX-License-Identifier: MIT
#include "larka/LarkaSystemInfoJavaScriptObject.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "host/Diagnostics.h"
#include "host/HostText.h"
#include "larka/SystemInfoData.h"

namespace {

// Kept for the contract: hosts know the texts of the diagnostics, with this path and the line
// numbers below.
const char kSourcePath[] = "src/LarkaSystemInfoJavaScriptObject.cpp";

int number(const char* text) {
  if (!text) return 0;
  return static_cast<int>(std::clamp<long>(strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

QString decimal(int number) { return QString::number(number, 10); }

}  // namespace

LarkaSystemInfoJavaScriptObject::LarkaSystemInfoJavaScriptObject(QObject* parent,
                                                                 SystemInfoData* infoData)
    : QObject(parent) {
  if (!infoData) {
    LARKA::diagnose("%s::%s(%d): error infoData = NULL!!!\n", kSourcePath,
                    "LarkaSystemInfoJavaScriptObject", 12);
    return;
  }
  m_serialNumber = LARKA::fromHost(infoData->serialNumber);
  m_productName = LARKA::fromHost(infoData->productName);
  m_firmwareVersion = LARKA::fromHost(infoData->firmwareVersion);
  m_vendor = LARKA::fromHost(infoData->vendor);
  m_resolution = number(infoData->resolution);
  m_network = number(infoData->network);
  m_techPlatform = LARKA::fromHost(infoData->techPlatform);
  m_secureSerialNumber = LARKA::fromHost(infoData->secureSerialNumber);
  m_debugFree = LARKA::fromHost(infoData->debugFree);
}

LarkaSystemInfoJavaScriptObject::~LarkaSystemInfoJavaScriptObject() = default;

QString LarkaSystemInfoJavaScriptObject::serialnumber() const { return m_serialNumber; }
QString LarkaSystemInfoJavaScriptObject::productname() const { return m_productName; }
QString LarkaSystemInfoJavaScriptObject::firmwareversion() const { return m_firmwareVersion; }
QString LarkaSystemInfoJavaScriptObject::vendor() const { return m_vendor; }
QString LarkaSystemInfoJavaScriptObject::resolution() const { return decimal(m_resolution); }
QString LarkaSystemInfoJavaScriptObject::network() const { return decimal(m_network); }
QString LarkaSystemInfoJavaScriptObject::techplatform() const { return m_techPlatform; }
QString LarkaSystemInfoJavaScriptObject::secureSerialNumber() const { return m_secureSerialNumber; }
QString LarkaSystemInfoJavaScriptObject::debug_free() const { return m_debugFree; }

void LarkaSystemInfoJavaScriptObject::printDebug(const QString& str) {
  LARKA::diagnose("%s::%s(%d) DEBUG:\t%s\n", kSourcePath, "printDebug", 31,
                  str.toUtf8().constData());
}
