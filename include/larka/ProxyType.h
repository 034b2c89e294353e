// ProxyType.h: the kinds of proxy a browser can be sent through.
#pragma once

namespace LARKA {

/// The kind of proxy for ILarkaBrowser::SetProxy. Any other value selects the process's default
/// proxy. The numbers are part of the binary interface.
enum ProxyType {
  PROXY_SOCKS5 = 0,  ///< a SOCKS version 5 proxy
  PROXY_HTTP = 1     ///< an HTTP proxy (plain requests, CONNECT for encrypted ones)
};

}  // namespace LARKA
