// Catching what RpcRaiseException raises: a structured exception, for which this compiler has no statement. The frame
// below is what one would compile to, by the documented x64 exception data: a scope table that names the guarded
// instructions, the filter and where to go on, read by the platform's own handler of such frames.
#include "platform/rpc_client.h"
#include "platform/windows/rpc_status_codes.h"

// Decides about an exception within the guarded call and leaves its code in the frame's own word. `frame` is the stack
// pointer behind the frame's prologue.
extern "C" [[gnu::used]] LONG FilterRpcException(EXCEPTION_POINTERS* exception, void* frame) {
  const DWORD code = exception->ExceptionRecord->ExceptionCode;
  if (!IsRpcStatus(code)) return EXCEPTION_CONTINUE_SEARCH;
  constexpr int kOwnWord = 32;  // above the space every call gets for its register arguments
  *reinterpret_cast<DWORD*>(static_cast<char*>(frame) + kOwnWord) = code;
  return EXCEPTION_EXECUTE_HANDLER;
}

// RPC_STATUS RunCatchingRpcException(void (*call)(void*), void* context). The platform goes on at .Lcaught, with the
// stack as it is behind the prologue.
__asm__(
    "	.text\n"
    "	.globl RunCatchingRpcException\n"
    "	.def RunCatchingRpcException; .scl 2; .type 32; .endef\n"
    "	.seh_proc RunCatchingRpcException\n"
    "RunCatchingRpcException:\n"
    "	subq $40, %rsp\n"
    "	.seh_stackalloc 40\n"
    "	.seh_endprologue\n"
    "	movq %rcx, %rax\n"
    "	movq %rdx, %rcx\n"
    ".Lguarded:\n"
    "	call *%rax\n"
    "	nop\n"
    ".Lunguarded:\n"
    "	xorl %eax, %eax\n"
    ".Lleave:\n"
    "	addq $40, %rsp\n"
    "	ret\n"
    ".Lcaught:\n"
    "	movl 32(%rsp), %eax\n"
    "	jmp .Lleave\n"
    "	.seh_handler __C_specific_handler, @except\n"
    "	.seh_handlerdata\n"
    "	.long 1\n"
    "	.rva .Lguarded, .Lunguarded, FilterRpcException, .Lcaught\n"
    "	.text\n"
    "	.seh_endproc\n");
