// SPDX-License-Identifier: Apache-2.0

// Asks a shop's backend in C, from a game's loop, which ticks once a frame: game_c URL

#include <corvo/c.h>
#include <stdio.h>
#include <stdlib.h>
#include <threads.h>
#include <time.h>

// Ends the program if a call failed.
static void check(corvo_status status) {
  if (status == CORVO_OK) return;
  corvo_error error = {.size = sizeof error};
  corvo_last_error(&error);
  fprintf(stderr, "%.*s\n", (int)error.text.size, error.text.data);
  exit(EXIT_FAILURE);
}

// The game draws the latest text.
struct sign {
  char text[200];
};

static void show(void* context, const corvo_answer* answer) {
  struct sign* sign = context;
  corvo_text text = answer->error != NULL ? answer->error->text : answer->value.text;
  snprintf(sign->text, sizeof sign->text, "%.*s", (int)text.size, text.data);
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  corvo_registry* registry = NULL;
  check(corvo_registry_create(NULL, NULL, &registry));
  const corvo_client_options options = {.size = sizeof options,
                                        .project_token = CORVO_TEXT("shop-token"),
                                        .api_url = corvo_text_of(argv[1])};
  corvo_client* client = NULL;
  check(corvo_registry_initialize_client(registry, &options, &client));

  struct sign sign = {""};
  check(corvo_client_check_flag(client, CORVO_TEXT("welcome-text"), CORVO_STRING,
                                (corvo_callback){.context = &sign, .call = show}));

  for (int frame = 0; frame < 600 && sign.text[0] == '\0'; ++frame) {  // ten seconds at most
    check(corvo_registry_tick(registry));                              // never waits
    thrd_sleep(&(struct timespec){.tv_nsec = 16000000}, NULL);         // the game's own work
  }
  puts(sign.text[0] == '\0' ? "still loading" : sign.text);

  check(corvo_client_free(client));
  check(corvo_registry_free(registry));
  return 0;
}
