/* NAMELIST input and output as compiled code calls the libraries:
 *   program settings
 *     type grid
 *       integer :: n(2)
 *       real(8) :: h
 *     end type
 *     character(len=8) :: title = 'default'
 *     real :: tol = 1e-6
 *     integer :: steps(4) = 0
 *     type(grid) :: g = grid([10, 10], 0.1d0)
 *     namelist /run/ title, tol, steps, g
 *     read (5, nml=run)         ! the input below, on standard input
 *     write (6, nml=run)
 *   end program */
#include <kafrts.h>
#include <stddef.h>

struct grid {
  int32_t n[2];
  double h;
};

static char title[8] = {'d', 'e', 'f', 'a', 'u', 'l', 't', ' '};
static float tol = 1e-6f;
static int32_t steps[4];
static struct grid g = {{10, 10}, 0.1};

/* What the compiler emits for the group: all static. */
/* The descriptor of STEPS(1:4): base (stored at run time), offset, extent,
 * byte stride, lower bound. */
static const int64_t steps_desc[] = {0, -4, 4, 4, 1};
static const int64_t n_bounds[] = {1, 2};
static const kaf_nml_component grid_components[] = {
    {"n", offsetof(struct grid, n), KAF_TYPE_I, 1, 0, NULL, n_bounds},
    {"h", offsetof(struct grid, h), KAF_TYPE_D, 0, 0, NULL, NULL},
};
static const kaf_nml_dtype grid_type = {"grid", sizeof(struct grid), 2, 0, grid_components};

static void settings(void) {
  int64_t desc[5];
  for (int k = 0; k < 5; ++k) desc[k] = steps_desc[k];
  desc[0] = (int64_t)(intptr_t)steps;
  const kaf_nml_object objects[] = {
      {"title", KAF_TYPE_CH, 0, title, NULL, 8, NULL},
      {"tol", KAF_TYPE_R, 0, &tol, NULL, 0, NULL},
      {"steps", KAF_TYPE_I, 1, NULL, desc, 0, NULL},
      {"g", KAF_TYPE_DERIVED, 0, &g, NULL, 0, &grid_type},
  };
  const kaf_nml_group run = {"run", 4, 0, objects};
  kaf_ioctx_space space;
  kaf_ioctx *io = (kaf_ioctx *)&space;
  if (__KAFf90_read_seq4(io, "settings.f90", 11, 5, NULL, NULL, 0, 0) == 0 &&
      __KAFf90_do_read_namelist2(io, &run, "settings.f90", 11) == 0)
    __KAFf90_end_read_sequential(io);
  if (__KAFf90_write_seq(io, "settings.f90", 12, 6, NULL, NULL, 0, 0) == 0 &&
      __KAFf90_do_write_namelist(io, &run) == 0)
    __KAFf90_end_write_sequential(io);
}

int main(int argc, char **argv) { return __KAFf90_start(argc, argv, 2, settings); }
