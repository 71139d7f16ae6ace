#include "wmihost/com/Com.h"

#include <stdexcept>

namespace wmihost {

ComApartment::ComApartment()
{
    // A single-threaded apartment would need a window and a message loop.
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {
        throw std::runtime_error("COM cannot be initialised");
    }
}

ComApartment::~ComApartment()
{
    CoUninitialize();
}

}  // namespace wmihost
