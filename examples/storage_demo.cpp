// The application storage in one page: configuration, options, a project,
// string variables and a stored page, read from examples/demo/config/.
//
// The storage initialiser of the viewport reads "./demo.xml" (so the program
// first changes into the configuration folder, given as first argument), sets
// a global string variable and a stored page template. The program then
// opens the project "welcome", expands the template with the project's
// variables, and answers the stored page as the server would. It ends by
// itself.
#include <toviktwo/toviktwo.h>

#include <filesystem>
#include <iostream>

#ifndef TOVIK_EXAMPLE_CONFIG_DIR
#define TOVIK_EXAMPLE_CONFIG_DIR "examples/demo/config"
#endif

// The page template: [[name]] is a string variable, [[!...]] a CSS command.
const char* kTemplate =
    "<html><head><title>[[title]]</title><style>[[!linearanimation(.tip, 6s, infinite, 2, opacity: 1, "
    "opacity: 0, 5)]]</style></head>\n<body><h1>[[greeting]]</h1><p>[[footer]]</p></body></html>\n";

void ReadConfiguration(HKPersistentAppStorage& storage) {
  storage.ReadFromDisk("demo");  // ./demo.xml; throws HKException when it cannot
  std::map<std::string, std::string> options;
  storage.GetAppOptions(options);
  storage.SetStringVariable("title", options["title"]);
  storage.SetStringVariable("greeting", options["greeting"]);  // the project's wins while it is open
  storage.SetStoredPages(
      {{"/index.html", HKStringStorage("/index.html", HK_MIME_TYPE_TEXT_HTML, kTemplate, false)}});
}

int main(int argc, char** argv) {
  std::filesystem::current_path(argc > 1 ? argv[1] : TOVIK_EXAMPLE_CONFIG_DIR);
  HKAppViewportBase viewport(
      "demo", "storage demo",
      [](HKAppViewportBase* v, bool) { return new HKTovikApplication2(v->GetStorage(), {}, {}); },
      ReadConfiguration);
  HKPersistentAppStorage& storage = viewport.GetStorage();
  HKUserCredentials user;

  std::list<std::string> projects;
  storage.GetProjectNameList(projects, user);
  for (const std::string& name : projects) {
    const bool usable = storage.CheckProject(
        name, false, [](std::string) {}, user);
    std::cout << "project " << name << (usable ? " is usable" : " can't be read") << std::endl;
  }
  HKXMLDatabase* project = storage.OpenProject("welcome", "newcomer");
  std::cout << "colour of the project: " << project->GetElementAttribute("project.settings.colour.value", "")
            << std::endl;

  // The stored page as the server answers it, then expanded for the project.
  HKTovikApplication2* application = viewport.main_start_local(false);
  HKXResponseHeader response(HK_SCHEME_ANSWER, true, HK_PROTO_HTTP);
  application->preloadContent("/index.html", response);
  std::string page = response.getDataBuffer()->str();
  storage.ReplaceStringVariables(page, "welcome");
  std::cout << "status " << response.statusCode() << ", page:\n"
            << page.substr(0, page.find("<style>")) << "...\n"
            << page.substr(page.find("<body>")) << std::flush;

  storage.CloseProject("welcome", "newcomer");  // the last user: written only with persistentwriting
  return 0;
}
