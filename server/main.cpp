#include "ServerProcess.h"

#include <iostream>
#include <stdexcept>

int main(int argc, char** argv) {
  try {
    tetherserver::ServerProcess process(std::vector<std::string>(argv + 1, argv + argc));
    return process.Run();
  } catch (const std::invalid_argument& error) {
    std::cerr << "tether-server: " << error.what() << "\n"
              << "usage: tether-server (--fd N | --listen [path]) [--cold-buffers] [--workers N]\n";
    return 2;
  } catch (const std::exception& error) {
    std::cerr << "tether-server: " << error.what() << "\n";
    return 1;
  }
}
