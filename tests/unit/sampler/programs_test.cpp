// Programs that people use: same output, same exit status, with and without the sampler.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

namespace {

struct Program {
    const char *name; // of the program that must be there
    const char *script; // for the shell, in a folder of its own
};

void PrintTo(const Program &program, std::ostream *stream)
{
    *stream << program.name;
}

class Programs : public testing::TestWithParam<Program> { };

Outcome runIn(const Folder &folder, const char *script, const Environment &environment)
{
    return run({"bash", "-c", "cd \"$0\" && eval \"$1\"", folder.path(), script}, environment);
}

} // namespace

TEST_P(Programs, RunTheSame)
{
    const Program &program = GetParam();
    if (run({"bash", "-c", std::string("command -v ") + program.name}).status != 0)
        GTEST_SKIP() << "Requires " << program.name;
    const Folder spools;
    const Folder first;
    const Folder second;
    const Outcome alone = runIn(first, program.script, {});
    const Outcome sampled = runIn(second, program.script, samplingInto(spools.path()));
    EXPECT_EQ(alone, sampled);
    EXPECT_EQ(alone.status, 0);
    EXPECT_FALSE(alone.output.empty());
    for (const SpoolFile &spool : spoolsIn(spools.path()))
        EXPECT_EQ(spool.complaint(), "");
}

INSTANTIATE_TEST_SUITE_P(Sampler, Programs,
    testing::Values(
        Program{"bash",
            "for i in $(seq 1 20); do (echo \"$i\") | tr 0-9 a-j; done; x=$(false; echo $?); echo \"$x\";"
            "trap 'echo trapped' USR1; kill -USR1 $$; { sleep 0.1; echo late; } & wait; cat < <(echo "
            "process);"
            "exec 5>f; echo five >&5; exec 5>&-; cat f; read -t 0.1 y < <(sleep 0.3) || echo timeout"},
        Program{"perl",
            "perl -e 'open F,q(>),q(f); print F 1..5000; close F; print -s q(f), qq(\\n);"
            "$SIG{ALRM}=sub{die qq(alarm\\n)}; alarm 1; eval{sleep 5}; print $@; print `echo child`;"
            "if(!fork){exit 3} wait; print $?>>8, qq(\\n)'"},
        Program{"python3",
            "python3 -c 'import subprocess,threading,multiprocessing as m,os,signal,tempfile\n"
            "print(subprocess.check_output([\"echo\",\"hi\"]))\n"
            "r=[]\nts=[threading.Thread(target=r.append,args=(i,)) for i in range(20)]\n"
            "[t.start() for t in ts];[t.join() for t in ts];print(sorted(r))\n"
            "def f(q): q.put(os.getppid()>0)\n"
            "c=m.get_context(\"fork\");q=c.Queue();p=c.Process(target=f,args=(q,));p.start();print(q.get());"
            "p.join()\n"
            "print(p.exitcode);signal.signal(signal.SIGALRM,lambda *a:print(\"alarm\"));signal.alarm(1);"
            "signal.pause()'"},
        Program{"make",
            "printf 'all: a b c\\n%%: ; @echo $@; sleep 0.05; seq 1 100 | md5sum\\n' > Makefile;"
            "make -s -j2 -O | sort; make -s missing/file -n; echo $?"},
        Program{"tar",
            "mkdir d; for i in 1 2 3; do seq 1 $((i*1000)) > d/$i; done;"
            "tar --sort=name --mtime=@0 --owner=0 --group=0 -cf - d | md5sum;"
            "tar -czf d.tgz d && mkdir e && tar -xzf d.tgz -C e && diff -r d e/d && ls -R e"},
        Program{"git",
            "export HOME=$PWD GIT_CONFIG_NOSYSTEM=1 GIT_AUTHOR_DATE='@1000000000 +0000' "
            "GIT_COMMITTER_DATE='@1000000000 +0000';"
            "git -c init.defaultBranch=m init -q r && cd r && git config user.name n && "
            "git config user.email n@host.example && seq 1 1000 > f && git add f && git commit -qm one &&"
            "seq 1 2000 > f && git commit -qam two && git log -p --stat | md5sum && git gc -q && git fsck "
            "2>&1 |"
            "grep -v -i check; git status -s; git rev-parse HEAD"}),
    [](const testing::TestParamInfo<Program> &row) { return std::string(row.param.name); });
