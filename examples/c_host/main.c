/* A host of the joystick bridge written in C: it registers a listener, prints the layouts, the
 * device list and the first packet of each controller, gives the controller in slot 0 the
 * PlayStation layout, and unregisters. */
#if !defined(_WIN32)
#define _POSIX_C_SOURCE 200809L
#endif

#include <cpd_joystick/cpd_joystick.h>
#include <stdio.h>

#if defined(_WIN32)
#include <windows.h>
static void sleep_ms(unsigned ms) {
  Sleep(ms);
}
#else
#include <time.h>
static void sleep_ms(unsigned ms) {
  struct timespec pause;
  pause.tv_sec = (time_t)(ms / 1000);
  pause.tv_nsec = (long)(ms % 1000) * 1000000L;
  nanosleep(&pause, NULL);
}
#endif

enum { MAX_DEVICES = 8, MAX_SLOTS = 4, MAPPING_PS = 1 };

/* Written only by the callbacks, which the library calls one at a time on its own thread;
 * main reads them once cpd_joystick_unregister has returned. */
struct counts {
  int packets;
  int lists;
  int events;
  int shown[MAX_SLOTS];
};

static void on_data(void* user, const cpd_joystick_packet* packet, int32_t size) {
  struct counts* counts = (struct counts*)user;
  counts->packets++;
  if (packet->slot < MAX_SLOTS && !counts->shown[packet->slot]) {
    counts->shown[packet->slot] = 1;
    printf("packet slot %u #%lu (%d bytes): buttons 0x%04x triggers %u/%u sticks %d,%d %d,%d\n",
           (unsigned)packet->slot, (unsigned long)packet->dwPacketNumber, (int)size,
           (unsigned)packet->wButtons, (unsigned)packet->bLeftTrigger,
           (unsigned)packet->bRightTrigger, packet->sThumbLX, packet->sThumbLY, packet->sThumbRX,
           packet->sThumbRY);
  }
}

static void on_dev_list_update(void* user) {
  ((struct counts*)user)->lists++;
}

static void on_event(void* user, const char* event, const cpd_joystick_field* fields,
                     size_t count) {
  (void)fields;
  ((struct counts*)user)->events++;
  printf("event %s (%u fields)\n", event, (unsigned)count);
}

static void print_devices(void) {
  cpd_joystick_device_info devices[MAX_DEVICES];
  int32_t count = cpd_joystick_get_dev_list(devices, MAX_DEVICES);
  int32_t i;
  if (count > MAX_DEVICES) {
    count = MAX_DEVICES;
  }
  printf("%d controller(s)\n", (int)count);
  for (i = 0; i < count; ++i) {
    printf("  slot %u  %04x:%04x  layout %u  %s  %s\n", (unsigned)devices[i].index,
           (unsigned)devices[i].vid, (unsigned)devices[i].pid, (unsigned)devices[i].mapping_index,
           devices[i].name, devices[i].path);
  }
}

static void print_layouts(void) {
  cpd_joystick_mapping_info layouts[8];
  const int32_t count = cpd_joystick_get_mapping_list(layouts, 8);
  int32_t i;
  printf("layouts:");
  for (i = 0; i < count && i < 8; ++i) {
    printf(" %u=%s", (unsigned)layouts[i].mapping_index, layouts[i].name);
  }
  printf("\n");
}

/* True once the library lists a controller; false after about `ms` milliseconds. */
static int wait_for_controller(unsigned ms) {
  unsigned waited;
  for (waited = 0; waited < ms; waited += 50) {
    if (cpd_joystick_get_dev_list(NULL, 0) > 0) {
      return 1;
    }
    sleep_ms(50);
  }
  return 0;
}

int main(void) {
  static struct counts counts;
  const cpd_joystick_listener listener = {on_data, on_dev_list_update, on_event, &counts};
  int32_t result;

  printf("cpd_joystick %s\n", cpd_joystick_version());
  if (cpd_joystick_register(&listener) != CPD_JOYSTICK_OK) {
    printf("register failed: %s\n", cpd_joystick_last_error());
    return 1;
  }
  print_layouts();
  if (wait_for_controller(5000)) {
    print_devices();
    sleep_ms(500); /* packets flow meanwhile */
    result = cpd_joystick_set_mapping(0, MAPPING_PS);
    printf("set_mapping(0, %d) = %d\n", MAPPING_PS, (int)result);
    print_devices();
  } else {
    printf("no controller within 5 s\n");
  }
  result = cpd_joystick_set_mapping(3, MAPPING_PS);
  printf("set_mapping(3, %d) = %d: %s\n", MAPPING_PS, (int)result, cpd_joystick_last_error());

  result = cpd_joystick_unregister(&listener);
  printf("unregistered (%d): %d packets, %d device lists, %d events\n", (int)result, counts.packets,
         counts.lists, counts.events);
  return 0;
}
