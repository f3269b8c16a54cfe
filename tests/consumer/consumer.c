/* A program built outside kvsup's tree against an installed kvsup: it starts
 * and ends the engine, reads a CM document and formats a line from it. The
 * library starts the engine itself when it is loaded (or, linked statically,
 * when the program starts), so the program's own start and end leave it
 * running: its global locks are still there after KorvaneEnd. */
#include <kvsup.h>
#include <stdio.h>

int main(void)
{
    char doc[] = "<ID>\n[image]\nwidth: 640\nname: \"sample\"\n";
    char line[80];
    KorvCMNode *root = NULL;
    KorvIO *in;
    const char *width, *name;
    int ok;

    if (KorvaneInit() != 1)
        return 1;
    in = KorvIO_Str(doc, 0);
    ok = in && KorvReadUserCMData(in, &root, 1) == 1;
    if (in)
        in->close(in);
    width = ok ? KorvGetParam(root, "ID", "image", "width") : NULL;
    name = ok ? KorvGetParam(root, "ID", "image", "name") : NULL;
    if (width && name)
        KorvSNPrintf(line, sizeof line, "%s: %s pixels wide, %#x", name, width, 640u);
    KorvFreeUserCMData(root);
    KorvaneEnd();
    if (!width || !name)
        return 2;
    if (KorvaneLock(KORV_KEY('E', 'N', 'V', 'V')) != 1) {
        fputs("the engine ended with the program's KorvaneEnd: the library's load hook did not start it\n",
              stderr);
        return 3;
    }
    KorvaneUnlock(KORV_KEY('E', 'N', 'V', 'V'));
    puts(line);
    return 0;
}
