// SPDX-License-Identifier: MIT
/// @file
/// Facts about the device.
#pragma once

/// Facts about the device that the host runs on, as NUL-terminated Latin-1. The host owns the
/// record and its strings; the library reads them only during the call that they are passed to. The
/// order of the fields is part of the binary interface.
struct SystemInfoData {
  const char* serialNumber;        ///< the fact of this name, or null
  const char* productName;         ///< the fact of this name, or null
  const char* firmwareVersion;     ///< the fact of this name, or null
  const char* vendor;              ///< the fact of this name, or null
  const char* resolution;          ///< decimal text, such as "720"; never null
  const char* network;             ///< decimal text; never null
  const char* techPlatform;        ///< the fact of this name, or null
  const char* secureSerialNumber;  ///< the fact of this name, or null
  const char* debugFree;           ///< the fact of this name, or null
};
