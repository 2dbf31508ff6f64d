// The diagnostic library: raw requests in callback mode, and the diagnostic consumer interface
// (DCI). Requests and DCI responses are raw packets: no escapes, no checksum, no terminator.
#pragma once

#include <cstdint>

/// Result of every DCI call that succeeded.
constexpr int DIAG_DCI_NO_ERROR = 1001;

enum diag_logging_mode {
  DIAG_USB_MODE = 1,
  DIAG_CALLBACK_MODE = 6,
};

/// Bits of a DCI peripheral list.
enum diag_dci_peripheral : uint16_t {
  DIAG_CON_APSS = 0x0001,
  DIAG_CON_MPSS = 0x0002,
};

extern "C" {
using diag_callback = int (*)(unsigned char* data, int length, void* context);
using diag_dci_response = void (*)(unsigned char* data, int length, void* context);
using diag_dci_stream = void (*)(unsigned char* data, int length);

/// Both return non-zero on success. `environment` is null.
unsigned char Diag_LSM_Init(unsigned char* environment);
unsigned char Diag_LSM_DeInit(void);

/// `directory` is null.
void diag_switch_logging(int mode, char* directory);

/// Register the receiver of callback-mode data from the local processor, and from remote processor
/// 1 or 2.
int diag_register_callback(diag_callback callback, void* context);
int diag_register_remote_callback(diag_callback callback, int processor, void* context);

/// Bit k-1 of `mask` is set when remote processor k is present.
int diag_has_remote_device(uint16_t* mask);

/// Returns 0 when sent.
int diag_callback_send_data(int processor, unsigned char* request, int length);

/// `peripherals`: the ones to watch; `signal` is raised when one of them appears or disappears.
int diag_register_dci_client(int* client_id, uint16_t* peripherals, int processor, int* signal);
int diag_register_dci_signal_data(int client_id, int signal);
int diag_get_dci_support_list_proc(int processor, uint16_t* peripherals);
int diag_register_dci_stream_proc(int client_id, diag_dci_stream log, diag_dci_stream event);
int diag_send_dci_async_req(int client_id, unsigned char* request, int length,
                            unsigned char* response, int response_size, diag_dci_response handler,
                            void* context);
int diag_release_dci_client(int* client_id);
}
