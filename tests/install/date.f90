! The library from Fortran: J2000 as a modified Julian date, 51544.5.
program date
    use, intrinsic :: iso_c_binding
    implicit none
    type, bind(c) :: NbDateInts
        integer(c_int32_t) :: year, month, day, hour, minute, second, millisecond
    end type
    interface
        real(c_double) function nbDateIntsToMjd(when) bind(c, name="nbDateIntsToMjd")
            import :: c_double, NbDateInts
            type(NbDateInts), intent(in) :: when
        end function
    end interface
    if (nbDateIntsToMjd(NbDateInts(2000, 1, 1, 12, 0, 0, 0)) /= 51544.5_c_double) error stop
end program
