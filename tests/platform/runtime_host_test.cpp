// The runtime's objects on the host: value sets, and app-service connections up to their handlers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/app_service.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/runtime/reference.h"
#include "platform/host/runtime/runtime_control.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/played_app_service.h"

namespace {

using namespace Runtime;
using host::runtime::Reference;
using support::PlayedAppService;
using testing::ElementsAre;

class Text {
 public:
  explicit Text(std::u16string text) : text_(std::move(text)) {
    EXPECT_EQ(WindowsCreateStringReference(text_.c_str(), static_cast<UINT32>(text_.size()), &header_, &string_), S_OK);
  }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  operator HSTRING() const { return string_; }

 private:
  std::u16string text_;
  HSTRING_HEADER header_;
  HSTRING string_ = nullptr;
};

template <typename Interface>
Reference<Interface> As(IInspectable* object, REFIID iid) {
  void* found = nullptr;
  EXPECT_EQ(object->QueryInterface(iid, &found), S_OK);
  return Reference<Interface>::Adopt(static_cast<Interface*>(found));
}

template <typename Interface>
Reference<Interface> Activate(const char16_t* name, REFIID iid) {
  IInspectable* object = nullptr;
  EXPECT_EQ(RoActivateInstance(Text(name), &object), S_OK);
  return As<Interface>(Reference<IInspectable>::Adopt(object).Get(), iid);
}

// Calls the method in `slot` of the object's table, as code that was compiled elsewhere does.
template <typename... Arguments>
HRESULT CallSlot(void* object, std::size_t slot, Arguments... arguments) {
  using Method = HRESULT (*)(void*, Arguments...);
  return (*static_cast<Method**>(object))[slot](object, arguments...);
}

Reference<IInspectable> Box(UINT32 number) {
  void* statics = nullptr;
  EXPECT_EQ(RoGetActivationFactory(Text(kPropertyValueClass), IID_IPropertyValueStatics, &statics), S_OK);
  const auto owner = Reference<IUnknown>::Adopt(static_cast<IUnknown*>(statics));
  IInspectable* value = nullptr;
  EXPECT_EQ(CallSlot(statics, 88 / 8, number, &value), S_OK);
  return Reference<IInspectable>::Adopt(value);
}

boolean Insert(IInspectable* set, const char16_t* key, UINT32 number) {
  boolean replaced = 2;
  const auto map = As<IStringMap>(set, IID_IStringMap);
  EXPECT_EQ(CallSlot(map.Get(), 80 / 8, static_cast<HSTRING>(Text(key)), Box(number).Get(), &replaced), S_OK);
  return replaced;
}

// Remembers how it was called.
template <typename Result>
class Handler final : public IAsyncOperationCompletedHandler<Result> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE Invoke(IAsyncOperation<Result>* operation, AsyncStatus ended) override {
    status = ended;
    outcome = operation->GetResults(&result);
    ++calls;
    calls.notify_all();
    return S_OK;
  }
  void Await() const { calls.wait(0); }

  AsyncStatus status = AsyncStatus::Started;
  HRESULT outcome = E_FAIL;
  Result result{};
  std::atomic<int> calls = 0;

 private:
  std::atomic<ULONG> references_ = 1;
};

// Puts a handler and waits until it has been called.
template <typename Result>
Reference<Handler<Result>> End(IAsyncOperation<Result>* operation) {
  const auto handler = host::runtime::Make<Handler<Result>>();
  EXPECT_EQ(operation->put_Completed(handler.Get()), S_OK);
  handler->Await();
  return handler;
}

class RuntimeHost : public testing::Test {
 protected:
  RuntimeHost() { EXPECT_EQ(RoInitialize(RO_INIT_MULTITHREADED), S_OK); }
  ~RuntimeHost() override { RoUninitialize(); }

  Reference<IAppServiceConnection> Connection(const char16_t* service, const std::string& package = kPackage) {
    auto connection = Activate<IAppServiceConnection>(kAppServiceConnectionClass, IID_IAppServiceConnection);
    EXPECT_EQ(connection->put_PackageFamilyName(Text(std::u16string(package.begin(), package.end()))), S_OK);
    EXPECT_EQ(connection->put_AppServiceName(Text(service)), S_OK);
    return connection;
  }

  Reference<IConnectOperation> StartOpening(IAppServiceConnection* connection) {
    IConnectOperation* operation = nullptr;
    EXPECT_EQ(connection->OpenAsync(&operation), S_OK);
    return Reference<IConnectOperation>::Adopt(operation);
  }

  // The status with which it opened.
  AppServiceConnectionStatus Open(IAppServiceConnection* connection) {
    const auto handler = End(StartOpening(connection).Get());
    EXPECT_EQ(handler->outcome, S_OK);
    return handler->result;
  }

  Reference<IPropertySet> Message() {
    auto set = Activate<IPropertySet>(kValueSetClass, IID_IPropertySet);
    Insert(set.Get(), u"hkd04a7event", 32);
    Insert(set.Get(), u"data1", 0xFFFFFFFF);
    Insert(set.Get(), u"data2", 0);
    return set;
  }

  Reference<IResponseOperation> Send(IAppServiceConnection* connection) {
    IResponseOperation* operation = nullptr;
    EXPECT_EQ(connection->SendMessageAsync(Message().Get(), &operation), S_OK);
    return Reference<IResponseOperation>::Adopt(operation);
  }

  struct Response {
    AsyncStatus status;
    AppServiceResponseStatus response;
    UINT32 values;  // how many its message has
  };
  Response Await(const Reference<IResponseOperation>& operation) {
    const auto handler = End(operation.Get());
    Response response{handler->status, AppServiceResponseStatus::Unknown, 0};
    const auto owner = Reference<IAppServiceResponse>::Adopt(handler->result);
    if (!owner) return response;
    EXPECT_EQ(owner->get_Status(&response.response), S_OK);
    IPropertySet* message = nullptr;
    EXPECT_EQ(owner->get_Message(&message), S_OK);
    const auto set = Reference<IPropertySet>::Adopt(message);
    if (set) {
      EXPECT_EQ(As<IStringMap>(set.Get(), IID_IStringMap)->get_Size(&response.values), S_OK);
    }
    return response;
  }

  static constexpr const char* kPackage = "Sample.App_8wekyb3d8bbwe";
  support::TestMachine machine_;
};

TEST_F(RuntimeHost, AValueSetKeepsItsOrderAndReplacesByKey) {
  const auto set = Activate<IPropertySet>(kValueSetClass, IID_IPropertySet);
  EXPECT_FALSE(Insert(set.Get(), u"a", 1));
  EXPECT_FALSE(Insert(set.Get(), u"b", 2));
  EXPECT_TRUE(Insert(set.Get(), u"a", 3));
  const auto map = As<IStringMap>(set.Get(), IID_IStringMap);
  UINT32 number = 0;
  IInspectable* value = nullptr;
  EXPECT_EQ(map->get_Size(&number), S_OK);
  EXPECT_EQ(number, 2u);
  ASSERT_EQ(map->Lookup(Text(u"a"), &value), S_OK);
  EXPECT_EQ(As<IPropertyValue>(Reference<IInspectable>::Adopt(value).Get(), IID_IPropertyValue)->GetUInt32(&number),
            S_OK);
  EXPECT_EQ(number, 3u);
  EXPECT_EQ(map->Lookup(Text(u"A"), &value), E_BOUNDS);
}

TEST_F(RuntimeHost, ClassesCanBeMissing) {
  host::TakeAwayRuntimeClass(kValueSetClass);
  IInspectable* object = nullptr;
  EXPECT_EQ(RoActivateInstance(Text(kValueSetClass), &object), REGDB_E_CLASSNOTREG);
  host::RestoreRuntimeClasses();
  EXPECT_EQ(RoActivateInstance(Text(kPropertyValueClass), &object), E_NOTIMPL);
  EXPECT_EQ(object, nullptr);
}

TEST_F(RuntimeHost, AMessageArrivesAndItsAnswerComesBack) {
  PlayedAppService service(machine_, host::OwnToken(), kPackage, "events", [](auto&) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return PlayedAppService::FrameOf(R"({"id":1,"status":"success","message":{"a":{"type":"UInt32","value":5}}})");
  });
  auto connection = Connection(u"events");
  ASSERT_EQ(Open(connection.Get()), AppServiceConnectionStatus::Success);
  const auto operation = Send(connection.Get());
  connection = {};  // what is on its way keeps it open
  const Response response = Await(operation);
  EXPECT_EQ(response.status, AsyncStatus::Completed);
  EXPECT_EQ(response.response, AppServiceResponseStatus::Success);
  EXPECT_EQ(response.values, 1u);
  EXPECT_THAT(service.Messages(), ElementsAre(R"({"hkd04a7event":{"type":"UInt32","value":32},)"
                                              R"("data1":{"type":"UInt32","value":4294967295},)"
                                              R"("data2":{"type":"UInt32","value":0}})"));
}

TEST_F(RuntimeHost, WhatCannotBeOpenedSaysWhy) {
  PlayedAppService service(machine_, host::OwnToken(), kPackage, "events");
  EXPECT_EQ(Open(Connection(u"events", "Sample.Other_8wekyb3d8bbwe").Get()),
            AppServiceConnectionStatus::AppNotInstalled);
  EXPECT_EQ(Open(Connection(u"others").Get()), AppServiceConnectionStatus::AppServiceUnavailable);
  IConnectOperation* operation = nullptr;
  EXPECT_EQ(Connection(u"")->OpenAsync(&operation), E_INVALIDARG);
  IResponseOperation* sending = nullptr;
  EXPECT_EQ(Connection(u"events")->SendMessageAsync(Message().Get(), &sending), E_ILLEGAL_METHOD_CALL);
}

TEST_F(RuntimeHost, AnAppServiceThatEndsOrTalksRubbishGivesAFailedResponse) {
  const PlayedAppService::Script scripts[] = {
      [](auto&) { return std::nullopt; },
      [](auto&) { return PlayedAppService::FrameOf("{\"id\":1,\"status\":7}"); },
      [](auto&) { return PlayedAppService::FrameOf(R"({"id":1,"status":"success","message":{"a":5}})"); },
      [](auto&) { return std::string("\xFF\xFF\xFF\xFF"); },
  };
  int number = 0;
  for (const auto& script : scripts) {
    const std::string name = "events" + std::to_string(number++);
    PlayedAppService service(machine_, host::OwnToken(), kPackage, name, script);
    const auto connection = Connection(std::u16string(name.begin(), name.end()).c_str());
    ASSERT_EQ(Open(connection.Get()), AppServiceConnectionStatus::Success);
    const Response response = Await(Send(connection.Get()));
    EXPECT_EQ(response.status, AsyncStatus::Completed) << name;
    EXPECT_EQ(response.response, AppServiceResponseStatus::Failure) << name;
    // So does whatever is sent over it afterwards.
    EXPECT_EQ(Await(Send(connection.Get())).response, AppServiceResponseStatus::Failure) << name;
  }
}

TEST_F(RuntimeHost, AHandlerIsPutOnceAndCalledOnce) {
  PlayedAppService service(machine_, host::OwnToken(), kPackage, "events");
  const auto connection = Connection(u"events");
  const auto opening = StartOpening(connection.Get());
  const auto info = As<IAsyncInfo>(opening.Get(), IID_IAsyncInfo);
  AsyncStatus status = AsyncStatus::Started;
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (status == AsyncStatus::Started && std::chrono::steady_clock::now() < limit) {
    ASSERT_EQ(info->get_Status(&status), S_OK);
  }
  const auto handler = End(opening.Get());  // it has ended by now
  EXPECT_EQ(opening->put_Completed(handler.Get()), E_ILLEGAL_DELEGATE_ASSIGNMENT);
  EXPECT_EQ(info->Close(), S_OK);
  AppServiceConnectionStatus result{};
  EXPECT_EQ(opening->GetResults(&result), E_ILLEGAL_METHOD_CALL);
  EXPECT_EQ(handler->calls, 1);
}

TEST_F(RuntimeHost, WhatIsNeverAnsweredCanBeCancelled) {
  PlayedAppService service(machine_, host::OwnToken(), kPackage, "events", [](auto&) { return std::string(); });
  const auto connection = Connection(u"events");
  ASSERT_EQ(Open(connection.Get()), AppServiceConnectionStatus::Success);
  const auto operation = Send(connection.Get());
  const auto info = As<IAsyncInfo>(operation.Get(), IID_IAsyncInfo);
  IAppServiceResponse* response = nullptr;
  EXPECT_EQ(operation->GetResults(&response), E_ILLEGAL_METHOD_CALL);
  EXPECT_EQ(info->Close(), E_ILLEGAL_STATE_CHANGE);
  EXPECT_EQ(info->Cancel(), S_OK);
  EXPECT_EQ(Await(operation).status, AsyncStatus::Canceled);
  EXPECT_EQ(info->Close(), S_OK);
}

TEST_F(RuntimeHost, FailuresThatTestsArrangeEndTheOperation) {
  PlayedAppService service(machine_, host::OwnToken(), kPackage, "events");
  const auto connection = Connection(u"events");
  host::FailCall("AppServiceConnection.Open", 1, 0x80010108);
  const auto opening = End(StartOpening(connection.Get()).Get());
  EXPECT_EQ(opening->status, AsyncStatus::Error);
  EXPECT_EQ(opening->outcome, static_cast<HRESULT>(0x80010108));
  ASSERT_EQ(Open(connection.Get()), AppServiceConnectionStatus::Success);
  host::FailCall("AppServiceConnection.Send", 1, 0x800704C7);
  EXPECT_EQ(Await(Send(connection.Get())).status, AsyncStatus::Canceled);
}

// Whatever allocation fails: an error and no operation, or an operation that ends, and nothing left behind.
TEST_F(RuntimeHost, ShortMemoryIsAnErrorOrTheEndOfTheOperation) {
  PlayedAppService service(machine_, host::OwnToken(), kPackage, "events");
  const auto message = Message();
  for (int allocations = 0, answered = 0; answered < 3; ++allocations) {
    ASSERT_LT(allocations, 500);
    const auto connection = Connection(u"events");
    support::FailAllocationAfter(allocations);
    IConnectOperation* opening = nullptr;
    const HRESULT opened = connection->OpenAsync(&opening);
    support::EndFailingAllocation();
    EXPECT_EQ(opened, opening ? S_OK : E_OUTOFMEMORY);
    if (!opening) continue;
    End(Reference<IConnectOperation>::Adopt(opening).Get());
    support::FailAllocationAfter(allocations);
    IResponseOperation* sending = nullptr;
    const HRESULT sent = connection->SendMessageAsync(message.Get(), &sending);
    support::EndFailingAllocation();
    EXPECT_EQ(sent, sending ? S_OK : E_OUTOFMEMORY);
    if (!sending) continue;
    const Response response = Await(Reference<IResponseOperation>::Adopt(sending));
    EXPECT_EQ(response.status, AsyncStatus::Completed);
    if (response.response == AppServiceResponseStatus::Success) ++answered;
  }
}

// The answer, the putting of the handler and a cancelling in every order.
TEST_F(RuntimeHost, ManyOperationsEndAtAnyMoment) {
  PlayedAppService service(machine_, host::OwnToken(), kPackage, "events");
  const auto connection = Connection(u"events");
  ASSERT_EQ(Open(connection.Get()), AppServiceConnectionStatus::Success);
  const auto sendSome = [&](bool cancels) {
    for (int i = 0; i < 100; ++i) {
      const auto operation = Send(connection.Get());
      if (cancels) {
        EXPECT_EQ(As<IAsyncInfo>(operation.Get(), IID_IAsyncInfo)->Cancel(), S_OK);
      }
      const AsyncStatus status = Await(operation).status;
      EXPECT_TRUE(status == AsyncStatus::Completed || (cancels && status == AsyncStatus::Canceled));
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(sendSome, i % 2 == 1);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
