extern "C" {

int localargc = 1;
static char program_name[] = "test";
char* localargv[] = {program_name, nullptr};

}
