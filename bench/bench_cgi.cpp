// Child programs started per second through HKcgi_bin_call2: a trivial CGI
// shell script and a trivial PHP page run by php-cgi (fork, exec, pipes,
// collecting the output and reaping). No peer: the figure is what one
// server's buffer job can do when every request is a child program.
#include <benchmark/benchmark.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <toviktwo/transport/hkcgi.h>

namespace {

// A folder with the two scripts, made once and removed at the end of the run.
struct ScriptFolder {
  std::string dir = "/tmp/toviktwo-bench-cgi-XXXXXX";
  ScriptFolder() {
    if (mkdtemp(dir.data()) == nullptr) std::abort();
    std::ofstream(dir + "/trivial.sh") << "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\n\\r\\nok'\n";
    chmod((dir + "/trivial.sh").c_str(), 0755);
    std::ofstream(dir + "/trivial.php") << "<?php echo 'ok';";
  }
  ~ScriptFolder() {
    unlink((dir + "/trivial.sh").c_str());
    unlink((dir + "/trivial.php").c_str());
    rmdir(dir.c_str());
  }
};

const std::string& scriptFolder() {
  static const ScriptFolder folder;
  return folder.dir;
}

void runOnce(benchmark::State& state, const std::string& program,
             const std::map<std::string, std::string>& env) {
  for (auto _ : state) {
    HKStringBuf in, out;
    HKcgi_bin_call2(program, env, in, out);
    if (out.getSizeReadable() == 0) state.SkipWithError("no output");
    benchmark::DoNotOptimize(out.getSizeReadable());
  }
  state.counters["calls/s"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_CgiShellScript(benchmark::State& state) {
  const std::string script = scriptFolder() + "/trivial.sh";
  runOnce(state, script,
          {{"REDIRECT_STATUS", "CGI"}, {"SCRIPT_FILENAME", script}, {"REQUEST_METHOD", "GET"}});
}
BENCHMARK(BM_CgiShellScript)->UseRealTime();

void BM_PhpPage(benchmark::State& state) {
  const std::string script = scriptFolder() + "/trivial.php";
  runOnce(state, "php-cgi",
          {{"REDIRECT_STATUS", "CGI"}, {"SCRIPT_FILENAME", script}, {"REQUEST_METHOD", "GET"}});
}
BENCHMARK(BM_PhpPage)->UseRealTime();

}  // namespace
