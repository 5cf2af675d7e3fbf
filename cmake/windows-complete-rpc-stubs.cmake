# Completes what widl generates from rpc/hkd04a7_rpc.idl, by the documented layout of interpreted stubs:
#
#   cmake -DHEADER=... -DSERVER=... -DCLIENT=... -P windows-complete-rpc-stubs.cmake
#
# - Procedure 5 becomes asynchronous, which widl cannot express: its prototypes take the call's asynchronous state first and
#   return nothing, so every stack offset moves by 8; its options say so; it is dispatched and called by the asynchronous
#   forms.
# - The handle attributes that widl drops: calls on a subscription are not serialized (0x04), a handle passed in and out
#   must not be null (0x01).
#
# Each replacement names how often its text must be there; anything else is an error, and the files stay as they are.
cmake_minimum_required(VERSION 3.25)

set(procedure Hkd04a7Rpc_EventNotify_WaitEventAsync)

# Replaces `old` by `new` in the variable `text`, where it must stand `count` times.
function(replace_exactly text count old new)
  string(REPLACE "${old}" "" without "${${text}}")
  string(LENGTH "${${text}}" before)
  string(LENGTH "${without}" after)
  string(LENGTH "${old}" length)
  math(EXPR found "(${before} - ${after}) / ${length}")
  if(NOT found EQUAL count)
    message(FATAL_ERROR "RPC stubs: expected ${count} times, found ${found} times in ${text}:\n${old}")
  endif()
  string(REPLACE "${old}" "${new}" replaced "${${text}}")
  set(${text} "${replaced}" PARENT_SCOPE)
endfunction()

# The same within the part of `text` from `first` up to the next `last`.
function(replace_within text first last count old new)
  string(FIND "${${text}}" "${first}" begin)
  if(begin EQUAL -1)
    message(FATAL_ERROR "RPC stubs: not in ${text}:\n${first}")
  endif()
  string(SUBSTRING "${${text}}" 0 ${begin} head)
  string(SUBSTRING "${${text}}" ${begin} -1 rest)
  string(FIND "${rest}" "${last}" end)
  if(end EQUAL -1)
    message(FATAL_ERROR "RPC stubs: not behind its beginning in ${text}:\n${last}")
  endif()
  string(SUBSTRING "${rest}" 0 ${end} part)
  string(SUBSTRING "${rest}" ${end} -1 tail)
  replace_exactly(part ${count} "${old}" "${new}")
  set(${text} "${head}${part}${tail}" PARENT_SCOPE)
endfunction()

# Both stubs describe the procedures in the same words.
macro(complete_format_strings text)
  set(first "Hkd04a7Rpc::${procedure})")
  set(last "(procedure ")
  replace_within(${text} "${first}" "${last}" 1 "0x44,\n        0x03,\t/* 3 params */" "0xc4,\n        0x03,\t/* 3 params */")
  replace_within(${text} "${first}" "${last}" 1 "(0x18),\t/* stack size = 24 */" "(0x20),\t/* stack size = 32 */")
  replace_within(${text} "${first}" "${last}" 1 "(0x10),\t/* stack offset = 16 */" "(0x18),\t/* stack offset = 24 */")
  replace_within(${text} "${first}" "${last}" 1 "(0x8),\t/* stack offset = 8 */" "(0x10),\t/* stack offset = 16 */")
  replace_within(${text} "${first}" "${last}" 2 "(0x0),\t/* stack offset = 0 */" "(0x8),\t/* stack offset = 8 */")

  # In the procedures' binding descriptions ...
  replace_within(${text} "Hkd04a7Rpc::Hkd04a7Rpc_Device_Close)" "${last}" 1 "0xe0,\n" "0xe1,\n")
  replace_within(${text} "Hkd04a7Rpc::Hkd04a7Rpc_EventNotify_Destroy)" "${last}" 1 "0xe0,\n" "0xe5,\n")
  replace_within(${text} "${first}" "${last}" 1 "0x41,\n" "0x45,\n")
  # ... and in the types.
  set(rundown "\t/* rundown routine */")
  set(pointer "\t/* Context flags: out, via ptr, */\n        ")
  set(inout "\t/* Context flags: out, in, via ptr, */\n        ")
  set(in "\t/* Context flags: can't be null, in, */\n        ")
  replace_exactly(${text} 1 "0xa0,${pointer}0x1,${rundown}" "0xa4,${pointer}0x1,${rundown}")
  replace_exactly(${text} 1 "0xe0,${inout}0x0,${rundown}" "0xe1,${inout}0x0,${rundown}")
  replace_exactly(${text} 1 "0xe0,${inout}0x1,${rundown}" "0xe5,${inout}0x1,${rundown}")
  replace_exactly(${text} 1 "0x41,${in}0x1,${rundown}" "0x45,${in}0x1,${rundown}")
endmacro()

# CMake lists split at semicolons and brackets; read as one text they stay as they are, since it is always quoted.
file(READ "${HEADER}" header)
foreach(prefix "Client_" "")
  replace_exactly(header 1 "LONG __cdecl ${prefix}${procedure}(\n    Hkd04a7Rpc_EventNotifyHandle"
    "void __cdecl ${prefix}${procedure}(\n    PRPC_ASYNC_STATE asyncState,\n    Hkd04a7Rpc_EventNotifyHandle")
endforeach()
replace_exactly(header 1 "#ifndef __hkd04a7_rpc_h__\n" "#include <rpcasync.h>\n#ifndef __hkd04a7_rpc_h__\n")

file(READ "${SERVER}" server)
complete_format_strings(server)
set(five "    NdrServerCall2,\n    NdrServerCall2,\n    NdrServerCall2,\n    NdrServerCall2,\n    NdrServerCall2,\n")
replace_exactly(server 1 "Hkd04a7Rpc_table[] =\n{\n${five}    NdrServerCall2,\n"
  "Hkd04a7Rpc_table[] =\n{\n${five}    NdrAsyncServerCall,\n")

file(READ "${CLIENT}" client)
complete_format_strings(client)
set(first "LONG __cdecl Client_${procedure}(")
set(last "\n}\n")
replace_within(client "${first}" "${last}" 1 "    CLIENT_CALL_RETURN _RetVal;\n\n" "")
replace_within(client "${first}" "${last}" 1 "_RetVal = NdrClientCall2( " "NdrAsyncClientCall( ")
replace_within(client "${first}" "${last}" 1 "    return (LONG)_RetVal.Simple;" "")
replace_within(client "${first}" "${last}" 1 "                              subscription," 
  "                              asyncState,\n                              subscription,")
replace_within(client "${first}" "${last}" 1 "(\n    Hkd04a7Rpc_EventNotifyHandle"
  "(\n    PRPC_ASYNC_STATE asyncState,\n    Hkd04a7Rpc_EventNotifyHandle")
replace_exactly(client 1 "${first}" "void __cdecl Client_${procedure}(")

file(WRITE "${HEADER}" "${header}")
file(WRITE "${SERVER}" "${server}")
file(WRITE "${CLIENT}" "${client}")
