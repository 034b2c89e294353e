// SPDX-License-Identifier: MIT
/// @file
/// The kinds of proxies.
#pragma once

namespace LARKA {

/// The kind of proxy for ILarkaBrowser::SetProxy. Any other value selects Qt's default proxy of the
/// process. The numbers are part of the binary interface.
enum ProxyType {
  PROXY_SOCKS5 = 0,  ///< a SOCKS version 5 proxy
  PROXY_HTTP = 1     ///< an HTTP proxy (CONNECT for encrypted requests)
};

}  // namespace LARKA
