// The Task Scheduler's interfaces over the machine's daemon, and the creation of COM objects, of which the machine
// offers this one class.
//
// Interfaces have the methods that are used here, in the platform's order; the objects come from this layer alone, so
// the places between need not be kept. Calls are made on a thread that has an apartment, by one thread at a time for
// one object; strings stay the caller's. Each call but the creation is a round trip to the daemon.
//
// Any call fails with what the connection to the scheduler answers: 0x800706BA when the machine is not up,
// SCHED_E_SERVICE_NOT_RUNNING (0x80041315) when its scheduler is stopped or Connect has not been called, 0x800706BF on
// a connection made before the scheduler was started anew.
#pragma once

#include "platform/host/automation/automation.h"
#include "platform/host/base/types.h"
#include "platform/host/base/unknown.h"
#include "platform/host/task_scheduler/task_codes.h"

#define CLSCTX_INPROC_SERVER 0x1u
#define CLSCTX_INPROC_HANDLER 0x2u
#define CLSCTX_LOCAL_SERVER 0x4u
#define CLSCTX_REMOTE_SERVER 0x10u
#define CLSCTX_ALL (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)

// A new object of the class; `*object` is null on failure. CO_E_NOTINITIALIZED without an apartment,
// REGDB_E_CLASSNOTREG for another class (or a context without CLSCTX_INPROC_SERVER), E_NOINTERFACE for another
// interface, CLASS_E_NOAGGREGATION with an outer object, E_POINTER for a null `object`.
HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object);

inline constexpr CLSID CLSID_TaskScheduler = {
    0x0F87369F, 0xA4E5, 0x4CFC, {0xBD, 0x3E, 0x73, 0xE6, 0x15, 0x45, 0x72, 0xDD}};
inline constexpr IID IID_ITaskService = {0x2FABA4C7, 0x4DA9, 0x4013, {0x96, 0x97, 0x20, 0xCC, 0x3F, 0xD4, 0x0F, 0x85}};
inline constexpr IID IID_ITaskFolder = {0x8CFAC062, 0xA080, 0x4C15, {0x9A, 0x88, 0xAA, 0x7C, 0x2A, 0xF8, 0x0D, 0xFC}};
inline constexpr IID IID_IRegisteredTask = {
    0x9C86F320, 0xDEE3, 0x4DD1, {0xB9, 0x72, 0xA3, 0x03, 0xF2, 0x6B, 0x06, 0x1E}};
inline constexpr IID IID_IRunningTask = {0x653758FB, 0x7B9A, 0x4F1E, {0xA4, 0x71, 0xBE, 0xEB, 0x8E, 0x9B, 0x83, 0x4E}};

enum TASK_RUN_FLAGS {
  TASK_RUN_NO_FLAGS = 0,
  TASK_RUN_AS_SELF = 0x1,
  TASK_RUN_IGNORE_CONSTRAINTS = 0x2,
  TASK_RUN_USE_SESSION_ID = 0x4,
  TASK_RUN_USER_SID = 0x8
};

// An instance of a task. Releasing it leaves the instance alone.
struct IRunningTask : IUnknown {
  // Like "{D97E5D3B-...}", for SysFreeString; the run log names it.
  virtual HRESULT STDMETHODCALLTYPE get_InstanceGuid(BSTR* guid) = 0;

 protected:
  ~IRunningTask() = default;
};

struct IRegisteredTask : IUnknown {
  // Asks for a run and does not wait for it. `params`: VT_EMPTY, VT_NULL, one VT_BSTR or an array of at most 32, which
  // stand for $(Arg0), $(Arg1)... in the task's action. `running` may be null; it receives null, with S_OK, when the
  // task is disabled or may not be run on demand. SCHED_E_ALREADY_RUNNING (an instance runs and the task ignores new
  // ones), E_INVALIDARG (other parameters), 0x80070002 (the task is gone). Flags other than
  // TASK_RUN_IGNORE_CONSTRAINTS, and a `user`, end the program.
  virtual HRESULT STDMETHODCALLTYPE RunEx(VARIANT params, LONG flags, LONG sessionId, BSTR user,
                                          IRunningTask** running) = 0;

 protected:
  ~IRegisteredTask() = default;
};

struct ITaskFolder : IUnknown {
  // The task with this path relative to the folder; letter case does not matter, a leading "\" neither. 0x80070002 when
  // there is none, also for an empty or null path; E_POINTER for a null `task`.
  virtual HRESULT STDMETHODCALLTYPE GetTask(BSTR path, IRegisteredTask** task) = 0;

 protected:
  ~ITaskFolder() = default;
};

struct ITaskService : IUnknown {
  // "\" (or an empty path) is the root folder. 0x80070002 when there is none, E_POINTER for a null `folder`.
  virtual HRESULT STDMETHODCALLTYPE GetFolder(BSTR path, ITaskFolder** folder) = 0;
  // All four VT_EMPTY: this machine as the caller's own account. Anything else ends the program.
  virtual HRESULT STDMETHODCALLTYPE Connect(VARIANT server, VARIANT user, VARIANT domain, VARIANT password) = 0;

 protected:
  ~ITaskService() = default;
};

namespace host {

// Objects of this group that have not been released, for leak checks.
int LiveTaskObjects();

}  // namespace host
