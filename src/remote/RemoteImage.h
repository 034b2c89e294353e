// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "larka/extras.h"

namespace LARKA {

/// The host's view of a browser's image. The engine process has it twice in shared memory, and
/// writes only into the half that the host doesn't see. A notice has the host's address show the
/// other half: what the host reads changes only then, and all at once.
class RemoteImage {
 public:
  RemoteImage() = default;
  ~RemoteImage();
  RemoteImage(const RemoteImage&) = delete;
  RemoteImage& operator=(const RemoteImage&) = delete;

  /// Shows the image called `id`, whose halves `file` holds; the one called 0 is none. The page's
  /// image keeps its address while that of a plug-in is shown, and when another process makes one
  /// of that size. Takes over the file. Returns false if it doesn't hold such an image.
  bool show(qint64 id, bool isPage, int file, int stride, int rows);

  /// Forgets what the process called the image, which stays.
  void detach() { m_id = 0; }

  bool isShown(qint64 id) const { return m_shown && id != 0 && m_id == id; }

  /// Returns the images that another one has taken the place of since the last time. They can be
  /// read until the last reference to them is gone.
  std::vector<std::shared_ptr<void>> takeReplaced() { return std::exchange(m_replaced, {}); }

  /// Shows a half of the image, which differs in these parts. Returns false if there are none such.
  bool showHalf(int half, const std::vector<Rectangle>& parts);

  unsigned char* pixels() const { return m_shown ? m_shown->address : nullptr; }
  int stride() const { return m_shown ? m_shown->stride : 0; }
  ImageSize size() const {
    return m_shown ? ImageSize{m_shown->stride / 4, m_shown->rows} : ImageSize();
  }

 private:
  struct Place {
    int stride = 0, rows = 0;
    unsigned char* address = nullptr;
    size_t bytes() const { return static_cast<size_t>(stride) * static_cast<size_t>(rows); }
  };

  void replace(Place* place, int stride, int rows);
  bool map(Place* place, int half) const;

  Place m_page, m_plugin;
  Place* m_shown = nullptr;
  qint64 m_id = 0;  // of the image that is shown
  std::vector<std::shared_ptr<void>> m_replaced;
  int m_file = -1;  // of the image that is shown
};

}  // namespace LARKA
