// What pages may ask of the host with larka.exec2. To lift: the shape; put your own commands there.
#pragma once

#include <string>

namespace tv {

class Commands {
 public:
  // Answers a page, in ASCII: the answer to exec2 is Latin-1.
  //   clock        the time, such as 20:15
  //   volume       the volume in percent
  //   volume N     sets it, and answers what it is then
  //   version      Larka's version
  std::string answer(const std::string& command);

  int volume() const { return m_volume; }
  void changeVolume(int by);

 private:
  int m_volume = 40;
};

}  // namespace tv
