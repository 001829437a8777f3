/*
 * The function that a log line names. The name is part of the interface: whoever reads the log knows the
 * calls, not the steps that they are made of.
 */
#pragma once

/* A name as it is passed to the steps that several functions share. The text outlives it. */
class LogName {
  public:
    /* Implicit, so that __func__ is passed as it is. */
    constexpr LogName(const char *function) : function_(function) {}

    constexpr const char *function() const { return function_; }

  private:
    const char *function_;
};

/* The names of lines that are logged in functions of other names. */
namespace log_name {

inline constexpr LogName kIpcConnect = "frwk_ipc_connect";
inline constexpr LogName kIpcRecv = "frwk_ipc_recv";
inline constexpr LogName kIpcSend = "frwk_ipc_send";
inline constexpr LogName kIpcTrace = "frwk_ipc_trace";
inline constexpr LogName kIpcSocket = "frwk_ipc_socket";
inline constexpr LogName kIpcInit = "frwk_ipc_init";
inline constexpr LogName kIpcLoop = "frwk_ipc_loop";
inline constexpr LogName kIpcHandle = "frwk_ipc_handle";
inline constexpr LogName kIpcMsgHandle = "frwk_ipc_msg_handle";
inline constexpr LogName kIpcMsgAsyncHandle = "frwk_ipc_msg_async_handle";
inline constexpr LogName kIpcSendSync = "frwk_ipc_send_sync";
inline constexpr LogName kIpcSendAsync = "frwk_ipc_send_async";
inline constexpr LogName kIpcSubscribeLock = "frwk_ipc_subscribe_lock";

inline constexpr LogName kItcMain = "frwk_itc_main";
inline constexpr LogName kItcCreate = "frwk_itc_create";
inline constexpr LogName kItcSend = "frwk_itc_send";

inline constexpr LogName kLoadModuleParam = "frwk_load_module_param";
inline constexpr LogName kLoadModuleRun = "frwk_load_module_run";
inline constexpr LogName kPopen = "os_popen";

inline constexpr LogName kZndbSetRequest = "zndb_set_value";
inline constexpr LogName kZndbGetRequest = "zndb_get_value";
inline constexpr LogName kZndbDelRequest = "zndb_del_value";
inline constexpr LogName kZndbSaveRequest = "zndb_save_value";

inline constexpr LogName kStrToBool = "frwk_str_to_bool";
inline constexpr LogName kZndbGetValue = "frwk_zndb_get_value";
inline constexpr LogName kZndbAddCodecValue = "frwk_zndb_add_codec_value";
inline constexpr LogName kZndbGetCodecValue = "frwk_zndb_get_codec_value";
inline constexpr LogName kZndbGetKeyValue = "frwk_zndb_get_key_value";

inline constexpr LogName kDebugModeShell = "frwk_debug_mode_shell";
inline constexpr LogName kParseProfileStr = "frwk_parse_profile_str";
inline constexpr LogName kSpecifyPathDbAdapt = "frwk_specify_path_db_adapt";
inline constexpr LogName kLanguageChange = "frwk_language_change";
inline constexpr LogName kUserAgreementLanguageChange = "frwk_user_agreement_language_change";

inline constexpr LogName kDiagExec = "frwk_diag_exec";
inline constexpr LogName kDiagReadOutput = "read_output";

inline constexpr LogName kSimSubnetHandle = "frwk_sim_subnet_handle";
inline constexpr LogName kSimSubnetGetSimInfo = "frwk_sim_subnet_get_sim_info";
inline constexpr LogName kSimSubnetCheckAdaptType = "frwk_sim_subnet_check_adapt_type";
inline constexpr LogName kSimSubnetGetPath = "frwk_sim_subnet_get_path";
inline constexpr LogName kSimSubnetAdaptProcess = "frwk_sim_subnet_adapt_process";

inline constexpr LogName kDbrmBackup = "frwk_dbrm_backup";
inline constexpr LogName kDbrmBackupProcess = "frwk_dbrm_backup_process";
inline constexpr LogName kDbrmBackupCheck = "frwk_dbrm_backup_check";
inline constexpr LogName kDbrmBackupFile = "frwk_dbrm_backup_file";
inline constexpr LogName kDbrmGetMagic = "frwk_dbrm_get_magic";
inline constexpr LogName kDbrmPack = "frwk_dbrm_pack";
inline constexpr LogName kDbrmUnpack = "frwk_dbrm_unpack";
inline constexpr LogName kDbrmRestore = "frwk_dbrm_restore";
inline constexpr LogName kDbrmRestoreProcess = "frwk_dbrm_restore_process";
inline constexpr LogName kDbrmRestoreFile = "frwk_dbrm_restore_file";
inline constexpr LogName kDbrmRestoreDb = "frwk_dbrm_restore_db";
inline constexpr LogName kDbrmGetKeyvalue = "frwk_dbrm_get_keyvalue";

}  // namespace log_name
