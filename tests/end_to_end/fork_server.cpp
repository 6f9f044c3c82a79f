// Loaded by LD_PRELOAD, starts a program again and again for one loading of its libraries, which
// takes longer than most runs of the tests. In place of main it reads requests from the socket that
// is standard input: words, each ended by a zero. For each it forks, calls main in the new process,
// and answers with the status that waitpid gives.
#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using Main = int(int, char**, char**);
Main* program_main = nullptr;

// The words: the folder to work in, files for standard output and standard error, then those of the
// command line.
int Run(const std::vector<char*>& words, char** environment) {
  if (chdir(words[0]) != 0 || std::freopen("/dev/null", "r", stdin) == nullptr ||
      std::freopen(words[1], "w", stdout) == nullptr ||
      std::freopen(words[2], "w", stderr) == nullptr) {
    std::abort();
  }
  std::vector<char*> arguments(words.begin() + 3, words.end());
  arguments.push_back(nullptr);
  return program_main(static_cast<int>(arguments.size() - 1), arguments.data(), environment);
}

int Serve(int, char**, char** environment) {
  unsetenv("LD_PRELOAD");  // not for what the program starts
  static std::array<char, 1 << 18> request;
  for (ssize_t size; (size = read(STDIN_FILENO, request.data(), request.size())) > 0;) {
    const pid_t process = fork();
    if (process == 0) {
      std::vector<char*> words;
      for (char* word = request.data(); word < request.data() + size; word += strlen(word) + 1) {
        words.push_back(word);
      }
      return Run(words, environment);
    }
    int status = 0;
    waitpid(process, &status, 0);
    if (write(STDIN_FILENO, &status, sizeof status) < 0) break;
  }
  return EXIT_SUCCESS;
}

}  // namespace

extern "C" int __libc_start_main(Main* main, int count, char** arguments, void (*init)(),
                                 void (*finish)(), void (*finish_linker)(), void* stack_end) {
  program_main = main;
  const auto start =
      reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(Serve, count, arguments, init, finish, finish_linker, stack_end);
}
