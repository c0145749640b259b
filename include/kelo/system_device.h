// The abstract base of every engine device. Hosts call plug-ins only through
// this virtual table, so the order of the operations below is fixed.
#pragma once

#include "kelo/types.h"

namespace Kelo {

using DeviceCallback = void (*)(const DeviceDescription& device, void* user);

class ISystemDevice {
public:
  virtual ~ISystemDevice() {}

  // Reads what the device needs from the system before any device is bound.
  virtual bool Init() = 0;
  // True while the device can render on the calling thread.
  virtual bool IsReady() const = 0;
  virtual bool Update() = 0;
  virtual bool Release() = 0;

  // Calls `callback` once per device, synchronously, with `user`. The record
  // lives only during the call.
  virtual bool EnumerateDevices(DEV_SUBCLASS subClass, DeviceCallback callback, void* user) = 0;
  virtual bool GetDefaultDevice(DEV_SUBCLASS subClass, DeviceDescription& out) = 0;
  virtual bool SetDefaultDevice(const DeviceDescription& device, unsigned long& handle) = 0;
  // Binds the device to `device` and hands back a device handle.
  virtual bool InitDevice(const DeviceDescription& device, unsigned long& handle) = 0;
  // Tears down everything the device made for rendering. Call it before
  // destroying the device: destruction itself releases nothing.
  virtual bool ReleaseDevice(unsigned long handle) = 0;
};

}  // namespace Kelo
