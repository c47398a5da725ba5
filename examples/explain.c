// SPDX-License-Identifier: Apache-2.0

// Asks a project in C, and explains an answer: explain CONFIG USER

#include <corvo/c.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

// Ends the program if a call failed.
static void check(corvo_status status) {
  if (status == CORVO_OK) return;
  corvo_error error = {.size = sizeof error};
  corvo_last_error(&error);
  fprintf(stderr, "%.*s\n", (int)error.text.size, error.text.data);
  exit(EXIT_FAILURE);
}

// The whole file. The caller frees its data.
static corvo_text read_file(const char* path) {
  FILE* file = fopen(path, "rb");
  if (file == NULL) {
    perror(path);
    exit(EXIT_FAILURE);
  }
  char* data = NULL;
  size_t size = 0;
  for (size_t got = 1; got > 0; size += got) {
    data = realloc(data, size + 65536);
    if (data == NULL) exit(EXIT_FAILURE);
    got = fread(data + size, 1, 65536, file);
  }
  fclose(file);
  return (corvo_text){data, size};
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  corvo_text document = read_file(argv[1]);
  corvo_project* project = NULL;
  check(corvo_project_decode(document, CORVO_FILTER_CLIENT, &project));
  free((char*)document.data);

  const corvo_property user[] = {{CORVO_TEXT("userId"), corvo_text_of(argv[2])}};
  const corvo_context context = {.size = sizeof context, .properties = user, .property_count = 1};
  corvo_evaluation* evaluation = NULL;
  check(corvo_evaluation_create(project, &context, &evaluation));

  corvo_value steps;
  check(
      corvo_evaluation_check_flag(evaluation, CORVO_TEXT("checkout-steps"), CORVO_INTEGER, &steps));
  printf("checkout-steps: %" PRId64 "\n", steps.type == CORVO_ABSENT ? 3 : steps.integer);

  corvo_experiment* experiment = NULL;
  check(corvo_evaluation_experiment(evaluation, CORVO_TEXT("short-checkout"), &experiment));
  if (experiment != NULL) {
    corvo_text group;
    check(corvo_experiment_group(experiment, NULL, &group, NULL));
    printf("short-checkout: %.*s\n", (int)group.size, group.data);
    check(corvo_experiment_free(experiment));
  }

  corvo_text why;
  check(corvo_evaluation_explain_flag(evaluation, CORVO_TEXT("checkout-steps"), CORVO_FORM_TEXT,
                                      &why));
  printf("%.*s\n", (int)why.size, why.data);

  check(corvo_evaluation_free(evaluation));
  check(corvo_project_free(project));
  return 0;
}
