// SystemInfoData.h: what the host says of the device it runs on.
#pragma once

/// Facts about the device, as NUL-terminated text. The host owns the record and its texts; the
/// library reads them only during the call they are passed to. The order of the fields is part of
/// the binary interface.
struct SystemInfoData {
  ///@{
  /// A fact of this name; null where there is none.
  const char* serialNumber;
  const char* productName;
  const char* firmwareVersion;
  const char* vendor;
  ///@}
  const char* resolution;  ///< decimal text, such as "720"; never null
  const char* network;     ///< decimal text; never null
  ///@{
  /// A fact of this name; null where there is none.
  const char* techPlatform;
  const char* secureSerialNumber;
  const char* debugFree;
  ///@}
};
