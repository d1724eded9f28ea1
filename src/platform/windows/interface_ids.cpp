// Identifiers that the system's import libraries do not hold: the headers define them here.
#include <initguid.h>
// initguid.h first: it turns the declarations of the headers below into definitions.
#include <audioclient.h>
#include <devicetopology.h>
#include <ks.h>
#include <ksproxy.h>
#include <mmdeviceapi.h>
